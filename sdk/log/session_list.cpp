#include "log/session_list.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>

#include "core/file/aside.h"

namespace morv {

// Hundreds of thousands of sessions.
static constexpr size_t kMostBytes = size_t{16} << 20;

int load_session_list(const char *path, UniqueFd &fd, FileText &text) noexcept {
    fd.reset(open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd) return errno == ENOENT ? 0 : ERR_OPEN_FAILED;
    if (int code = check_regular(fd.get())) return code;
    const int code = text.load(fd.get(), kMostBytes);
    if (code != ERR_FORMAT_ERROR) return code;
    // Whoever made it so long would keep the sessions that are from being reported.
    fd.reset();
    return move_aside(path) ? 0 : ERR_READ_FAILED;
}

}  // namespace morv
