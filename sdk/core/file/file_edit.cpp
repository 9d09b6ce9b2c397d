#include "core/file/file_edit.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>

namespace morv {

int FileEdit::open_target(const char *path, Missing missing, int access) noexcept {
    if (!follow_links(path, target_)) return ERR_OPEN_FAILED;
    fd_.reset(::open(target_, access | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd_) return missing == kMayCreate && errno == ENOENT ? 0 : ERR_OPEN_FAILED;
    return check_regular(fd_.get());
}

int FileEdit::open_unread(const char *path, Missing missing) noexcept {
    return open_target(path, missing, O_RDONLY);
}

int FileEdit::open(const char *path, Missing missing, int read_error, int access) noexcept {
    if (int code = open_target(path, missing, access)) return code;
    if (!fd_) return 0;
    const int code = text_.load(fd_.get());
    return code == ERR_READ_FAILED ? read_error : code;
}

int FileEdit::commit(std::string_view content, NewFile new_file) const noexcept {
    ReplacementFile file(target_);
    const int code = prepare(file, content, new_file);
    return code == 0 ? file.rename_over() : code;
}

int FileEdit::prepare(ReplacementFile &file, std::string_view content, NewFile new_file) const noexcept {
    int code;
    if (exists()) {
        code = file.create_like(fd_.get());
    } else {
        code = new_file == kAsOpened ? file.create_as_opened()
                                     : file.create_own(new_file == kPrivate ? 0600 : 0644);
    }
    if (code == 0) code = file.write(content);
    return code == 0 ? file.complete() : code;
}

}  // namespace morv
