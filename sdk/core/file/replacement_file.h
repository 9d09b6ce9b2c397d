// The one way in which a file is replaced: a temporary file beside it, renamed over it when it is complete.
//
//     ReplacementFile file;
//     if (int code = file.create(path, old_fd, 0)) return code;
//     if (int code = file.write(content)) return code;
//     return file.commit();
//
// Without a commit the temporary file is removed and the target is as it was. All functions answer an error
// code; errno keeps the first cause.
#pragma once

#include <limits.h>
#include <sys/types.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

// What a commit promises after a power loss; see MORVFileDurabilitySet.
extern int file_durability;

class ReplacementFile {
  public:
    ReplacementFile() noexcept = default;
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;

    // Makes the temporary file for `path`, links followed. It gets owner, group, mode, extended attributes
    // and access list of the open file `old_fd` before any content, or `new_mode` when `old_fd` is -1.
    int create(const char *path, int old_fd, mode_t new_mode) noexcept;

    // Gives the temporary file the user and group of the process, whatever the folder's group is.
    int own() noexcept;

    int write(std::string_view content) noexcept;

    // Syncs and closes the temporary file and renames it over the target.
    int commit() noexcept;

  private:
    int adopt(int old_fd) noexcept;

    UniqueFd fd_;
    bool exists_ = false;
    mode_t mode_ = 0;
    char target_[PATH_MAX];
    char temporary_[PATH_MAX];
};

// Writes all of `content` to `fd`, and answers whether that worked.
bool write_all(int fd, std::string_view content) noexcept;

}  // namespace morv
