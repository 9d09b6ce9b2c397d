#include "core/file/file_edit.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <sys/stat.h>

#include "core/file/replacement_file.h"

namespace morv {

int FileEdit::open(const char *path, Missing missing, int read_error, int access) noexcept {
    if (!follow_links(path, target_)) return ERR_OPEN_FAILED;
    fd_.reset(::open(target_, access | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd_) return missing == kMayCreate && errno == ENOENT ? 0 : ERR_OPEN_FAILED;
    if (int code = check_regular(fd_.get())) return code;
    const int code = text_.load(fd_.get());
    return code == ERR_READ_FAILED ? read_error : code;
}

int FileEdit::commit(std::string_view content, NewFile new_file) const noexcept {
    ReplacementFile file(target_);
    int code;
    if (exists()) {
        code = file.create_like(fd_.get());
    } else {
        code = new_file == kOwn ? file.create_own(0644) : file.create_as_opened();
    }
    if (code == 0) code = file.write(content);
    return code == 0 ? file.commit() : code;
}

}  // namespace morv
