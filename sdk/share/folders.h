// Folders of shares: copied, moved, and set aside to be removed.
#pragma once

#include "core/file/tree.h"

namespace morv {

// Copies or moves a folder. Until the copy is complete and on disk it has the name of `to` with a dot
// before it and ".sharecopy" behind; what a killed process has left there is removed by the next call for
// the same `to`.
int copy_share_folder(const char *from, const char *to) noexcept;
int move_share_folder(const char *from, const char *to) noexcept;

// Where a volume keeps what is to be removed.
struct VolumeTmp {
    UniqueFd folder;  // "@tmp"

    // Finds the volume that the open folder lies on, and makes its "@tmp" if need be: ERR_CREATE_FAILED. Or
    // leaves one that is missing: ERR_PATH_NOT_FOUND.
    enum Missing { kMake, kLeave };
    int open(int folder_on_volume, Missing missing = kMake) noexcept;

    // Moves `name` of the open folder `at` in here: as `stem`, shortened if need be, and ".%ld" with a
    // number that makes it unique. `moved` gets that name. Answers 0, ERR_PATH_NOT_FOUND or
    // ERR_RENAME_FAILED.
    int take(int at, const char *name, const char *stem, char (&moved)[NAME_MAX + 1]) noexcept;
};

// Moves a folder to "@tmp", and removes it there in the background. As it was when that fails.
int discard_folder(const PathPlace &place) noexcept;

}  // namespace morv
