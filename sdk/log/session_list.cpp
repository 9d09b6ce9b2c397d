#include "log/session_list.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>

namespace morv {

int load_session_list(const char *path, UniqueFd &fd, FileText &text) noexcept {
    fd.reset(open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd) return errno == ENOENT ? 0 : ERR_OPEN_FAILED;
    if (int code = check_regular(fd.get())) return code;
    const int code = text.load(fd.get(), kMostSessionBytes);
    if (code != ERR_FORMAT_ERROR) return code;
    errno = EFBIG;
    return ERR_READ_FAILED;
}

}  // namespace morv
