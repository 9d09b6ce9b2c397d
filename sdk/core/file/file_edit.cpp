#include "core/file/file_edit.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <sys/stat.h>

#include "core/file/replacement_file.h"

namespace morv {

int FileEdit::open(const char *path, Missing missing, int read_error, int access) noexcept {
    path_ = path;
    fd_.reset(::open(path, access | O_CLOEXEC));
    if (!fd_) return missing == kMayCreate && errno == ENOENT ? 0 : ERR_OPEN_FAILED;
    struct stat st;
    if (fstat(fd_.get(), &st) != 0) return ERR_STAT_FAILED;
    if (S_ISDIR(st.st_mode)) {
        errno = EISDIR;
        return ERR_OPEN_FAILED;
    }
    const int code = text_.load(fd_.get());
    return code == ERR_READ_FAILED ? read_error : code;
}

int FileEdit::commit(std::string_view content, NewFile new_file) const noexcept {
    mode_t new_mode = 0644;
    if (!exists() && new_file == kAsOpened) {
        const mode_t mask = umask(0);
        umask(mask);
        new_mode = 0666 & ~mask;
    }
    ReplacementFile file;
    if (int code = file.create(path_, fd_.get(), new_mode)) return code;
    if (!exists() && new_file == kOwn) {
        if (int code = file.own()) return code;
    }
    if (int code = file.write(content)) return code;
    return file.commit();
}

}  // namespace morv
