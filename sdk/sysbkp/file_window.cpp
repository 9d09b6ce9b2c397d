#include "sysbkp/file_window.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

namespace morv {

namespace {

constexpr size_t kCapacity = size_t{256} << 10;

}  // namespace

int FileWindow::open(const char *path) noexcept {
    // Not to wait for a writer where there is a pipe by that name.
    fd_.reset(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat st;
    if (!fd_ || fstat(fd_.get(), &st) != 0) return ERR_OPEN_FAILED;
    if (!S_ISREG(st.st_mode)) {
        errno = EINVAL;
        return ERR_OPEN_FAILED;
    }
    size_ = st.st_size;
    posix_fadvise(fd_.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    return grow(kCapacity) ? 0 : ERR_OUT_OF_MEMORY;
}

bool FileWindow::grow(size_t bytes) noexcept {
    if (bytes <= capacity_) return true;
    char *const larger = static_cast<char *>(realloc(buffer_.get(), bytes));
    if (!larger) {
        code_ = ERR_OUT_OF_MEMORY;
        return false;
    }
    static_cast<void>(buffer_.release());
    buffer_.reset(larger);
    capacity_ = bytes;
    return true;
}

bool FileWindow::fill(size_t bytes) noexcept {
    // What a file says of its lengths is believed only as far as it goes.
    if (code_ != 0 || static_cast<int64_t>(bytes) > size_ - offset()) return false;
    if (bytes > capacity_ && !grow(std::max(bytes, 2 * capacity_))) return false;
    memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    while (end_ < bytes) {
        const ssize_t got = pread(fd_.get(), buffer_.get() + end_, capacity_ - end_, offset_);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) code_ = ERR_READ_FAILED;
        if (got <= 0) return false;
        end_ += static_cast<size_t>(got);
        offset_ += got;
    }
    return true;
}

void FileWindow::skip(int64_t bytes) noexcept {
    const auto here = static_cast<int64_t>(end_ - begin_);
    if (bytes <= here) {
        begin_ += static_cast<size_t>(bytes);
        return;
    }
    offset_ += bytes - here;
    begin_ = end_ = 0;
}

}  // namespace morv
