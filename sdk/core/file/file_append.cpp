#include "core/file/file_append.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <unistd.h>

#include "core/file/replacement_file.h"

namespace morv {

int FileAppend::open(const char *path) noexcept {
    fd_.reset(::open(path, O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd_) return ERR_OPEN_FAILED;
    if (int code = check_regular(fd_.get())) return code;
    return text_.load(fd_.get());
}

int FileAppend::append(std::string_view content) noexcept {
    const off_t end = lseek(fd_.get(), 0, SEEK_END);
    if (end < 0) return ERR_WRITE_FAILED;
    if (write_all(fd_.get(), content) && fsync(fd_.get()) == 0) {
        return close(fd_.release()) == 0 ? 0 : ERR_WRITE_FAILED;
    }
    const int saved = errno;
    // Nothing more can be done when even this fails; the caller hears of the write.
    if (ftruncate(fd_.get(), end) == 0) fsync(fd_.get());
    errno = saved;
    return ERR_WRITE_FAILED;
}

}  // namespace morv
