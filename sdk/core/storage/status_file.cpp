#include "core/storage/status_file.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/file/sys_path.h"

namespace morv {

int load_status(const char *path, Writers writers, size_t most, FileText &text) noexcept {
    // Not waiting: a pipe would hold its reader up for ever.
    const UniqueFd fd(open(SysPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat st;
    if (!fd) {
        // Links say ELOOP, sockets ENXIO.
        const bool is_file = errno != ENOENT && errno != ENOTDIR && errno != ELOOP && errno != ENXIO;
        return is_file ? ERR_OPEN_FAILED : ERR_FILE_NOT_FOUND;
    }
    if (fstat(fd.get(), &st) != 0) return ERR_OPEN_FAILED;
    if (writers == Writers::kTrusted && st.st_uid != 0 && st.st_uid != geteuid()) return ERR_FILE_NOT_FOUND;
    if (!S_ISREG(st.st_mode)) return ERR_FILE_NOT_FOUND;
    const int code = text.load(fd.get(), most);
    return code == ERR_READ_FAILED ? int{ERR_OPEN_FAILED} : code;
}

}  // namespace morv
