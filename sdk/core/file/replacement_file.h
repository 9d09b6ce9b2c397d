// The one way in which a file is replaced: a temporary file beside it, renamed over it when it is complete.
//
//     char target[PATH_MAX];
//     if (!follow_links(path, target)) return ERR_OPEN_FAILED;
//     ...open what stands there as old_fd...
//     ReplacementFile file(target);
//     if (int code = file.create_like(old_fd)) return code;
//     if (int code = file.write(content)) return code;
//     return file.commit();
//
// Without a commit the temporary file is removed and the target is as it was. All functions answer an error
// code; errno keeps the first cause.
//
// Files that take effect together have temporary files of known names, are completed one after the other, and
// are then put in place by rename_over.
#pragma once

#include <limits.h>
#include <sys/types.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

// What a commit promises after a power loss; see MORVFileDurabilitySet.
extern int file_durability;

// The file that `path` leads to: symbolic links are followed, also when the last one leads to nothing yet.
// Asked once, before the old file is opened, so that the file read and the file replaced are one and the same
// whatever becomes of the links meanwhile.
bool follow_links(const char *path, char (&target)[PATH_MAX]) noexcept;

class ReplacementFile {
  public:
    // suffix: what the name of the temporary file has behind the target's, in place of random letters; a file
    // that has this name is removed first
    explicit ReplacementFile(const char *target, const char *suffix = nullptr) noexcept
        : target_(target), suffix_(suffix) {}
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;

    // Make the temporary file. Before any content it has
    int create_like(int old_fd) noexcept;  // owner, group, mode, attributes and access list of the old file
    int create_own(mode_t mode) noexcept;  // this mode, and the user and group of the process
    int create_as_opened() noexcept;       // what opening a new file gives: by umask or the folder's list

    int write(std::string_view content) noexcept;

    // Has the disk begin with what was written: files that are completed together are then waited for
    // together.
    void start_sync() noexcept;

    // Syncs and closes the temporary file and renames it over the target.
    int commit() noexcept;

    // The two steps of a commit.
    int complete() noexcept;
    int rename_over() noexcept;

    // Leaves the complete temporary file where it is.
    void keep() noexcept { exists_ = false; }
    const char *temporary() const noexcept { return temporary_; }

  private:
    int create() noexcept;

    UniqueFd fd_;
    bool exists_ = false;
    mode_t mode_ = 0;
    const char *target_;
    const char *suffix_;
    char temporary_[PATH_MAX];
};

// Syncs the folder that holds the file at `path`, so that its name lasts.
bool sync_folder(const char *path) noexcept;

// Writes all of `content` to `fd`, and answers whether that worked.
bool write_all(int fd, std::string_view content) noexcept;

}  // namespace morv
