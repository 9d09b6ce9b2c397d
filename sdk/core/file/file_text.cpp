#include "core/file/file_text.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/guard.h"

namespace morv {

FileText::~FileText() {
    if (data_ != inline_) free(data_);
}

bool FileText::grow() noexcept {
    size_t wider;
    if (__builtin_mul_overflow(capacity_, size_t{4}, &wider)) return false;
    char *block = static_cast<char *>(realloc(data_ == inline_ ? nullptr : data_, wider));
    if (!block) return false;
    if (data_ == inline_) memcpy(block, inline_, size_);
    data_ = block;
    capacity_ = wider;
    return true;
}

int FileText::load(int fd, size_t most) noexcept {
    size_ = 0;
    for (;;) {
        if (size_ + 1 == capacity_ && !grow()) return ERR_OUT_OF_MEMORY;
        const ssize_t got = read(fd, data_ + size_, capacity_ - size_ - 1);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return ERR_READ_FAILED;
        if (got == 0) break;
        size_ += size_t(got);
        if (size_ > most) return ERR_FORMAT_ERROR;
    }
    data_[size_] = '\0';
    return 0;
}

int FileText::load(const char *path) noexcept {
    const UniqueFd fd(open(path, O_RDONLY | O_CLOEXEC));
    if (!fd) return ERR_OPEN_FAILED;
    const int code = load(fd.get());
    return code == ERR_READ_FAILED ? ERR_OPEN_FAILED : code;
}

int FileText::load_bounded(const char *path, size_t most) noexcept {
    const UniqueFd fd(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd) return ERR_OPEN_FAILED;
    const int code = load(fd.get(), most);
    return code == ERR_FORMAT_ERROR ? ERR_READ_FAILED : code;
}

int check_regular(int fd) noexcept {
    struct stat st;
    if (fstat(fd, &st) != 0) return ERR_STAT_FAILED;
    if (S_ISREG(st.st_mode)) return 0;
    errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    return ERR_OPEN_FAILED;
}

}  // namespace morv
