// A read-modify-write of a whole file, in two steps:
//
//     FileEdit file;
//     if (int code = file.open(path, FileEdit::kMayCreate, ERR_READ_FAILED)) return code;
//     ...make the new content from file.text()...
//     return file.commit(content);
#pragma once

#include <fcntl.h>
#include <limits.h>

#include <string_view>

#include "core/base/guard.h"
#include "core/file/file_text.h"
#include "core/file/replacement_file.h"

namespace morv {

class FileEdit {
  public:
    enum Missing { kMustExist, kMayCreate };

    // Opens and reads the target; with kMayCreate a missing one is empty and exists() answers false. A file
    // that exists but cannot be opened is an error in both cases: making it anew would lose its content.
    // Answers 0, ERR_OPEN_FAILED (also for what is no regular file), ERR_STAT_FAILED, `read_error` or
    // ERR_OUT_OF_MEMORY.
    //
    // access: O_RDWR for callers that promise to fail where the file itself may not be written
    int open(const char *path, Missing missing, int read_error, int access = O_RDONLY) noexcept;

    // The same without reading the target, for callers that know all that it is to hold.
    int open_unread(const char *path, Missing missing) noexcept;

    bool exists() const noexcept { return bool(fd_); }
    std::string_view text() const noexcept { return text_.view(); }

    enum NewFile {
        kAsOpened,  // mode 0666 less the umask, and the group that its folder gives
        kOwn,       // mode 0644, and the user and group of the process
        kPrivate    // mode 0600, likewise
    };

    // Replaces the target by a file with this content. Answers the codes of a replacement file.
    int commit(std::string_view content, NewFile new_file = kAsOpened) const noexcept;

    // The same up to the renaming, for files that take effect together: `file` is a replacement of
    // target().
    int prepare(ReplacementFile &file, std::string_view content, NewFile new_file = kAsOpened) const noexcept;
    const char *target() const noexcept { return target_; }

  private:
    int open_target(const char *path, Missing missing, int access) noexcept;

    char target_[PATH_MAX];
    UniqueFd fd_;
    FileText text_;
};

}  // namespace morv
