// Whole folders: copied and removed with all that is in them.
//
// Everything goes by descriptors of folders, and links are never followed, so that who can write in the
// tree cannot lead the work out of it. Only one folder of a tree is open at a time, whatever its depth.
// Mount points are not crossed.
//
// All functions answer an error code; errno keeps the cause.
#pragma once

#include <limits.h>
#include <stdint.h>
#include <sys/stat.h>

#include "core/base/guard.h"

namespace morv {

// Opens the folder `name` of the folder `at`; no link.
UniqueFd open_folder(int at, const char *name) noexcept;

// Whether two files are one.
inline bool same_file(const struct stat &a, const struct stat &b) noexcept {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// A path taken apart: the folder that it lies in, opened, and its name there.
struct PathPlace {
    UniqueFd folder;
    char name[NAME_MAX + 1];

    // Answers 0, ERR_PATH_NOT_FOUND (also for a path without a name, as "/"), ERR_ACCESS_DENIED or
    // ERR_OUT_OF_MEMORY.
    int open(const char *path) noexcept;
};

// Renames, but never over something: ERR_FILE_EXISTS then. Else ERR_RENAME_FAILED; errno EXDEV for another
// volume.
int rename_new(int from_folder, const char *from, int to_folder, const char *to) noexcept;

// Removes what is called `name` in the open folder `at`; what is not there is removed. Goes on behind what
// cannot be removed, and answers ERR_ACCESS_DENIED, ERR_DEVICE_BUSY (something is mounted in it),
// ERR_OUT_OF_MEMORY or ERR_WRITE_FAILED at the end.
int remove_tree(int at, const char *name) noexcept;

// Who wants to know how far a copy is.
struct CopyProgress {
    // Called with the number of bytes copied so far, at the beginning and then every kStep bytes.
    void (*publish)(void *context, uint64_t bytes) noexcept;
    void *context;

    static constexpr uint64_t kStep = uint64_t{64} << 20;
};

// Copies all that is in the open folder `from` to the open folder `to`, and owner, mode, times and
// attributes of the folder itself. Holes stay holes, files with several names in the tree keep them. The
// copy is on disk when the answer is 0. `to` is meant to be empty, and closed to others while it is filled.
// Answers 0, ERR_NOT_ENOUGH_SPACE, ERR_READ_FAILED, ERR_WRITE_FAILED, ERR_ACCESS_DENIED, ERR_OUT_OF_MEMORY,
// or ERR_DEVICE_BUSY when something is mounted in it, which a copy would leave out.
int copy_tree(int from, int to, const CopyProgress &progress) noexcept;

}  // namespace morv
