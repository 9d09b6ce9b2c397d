// Opening a store, with the mode that its file is to have.
#pragma once

#include <morvsdk/bdb.h>
#include <sys/types.h>

namespace morv {

// What MORVBDbOpen gives every store: all may read and write it.
inline constexpr mode_t kSharedStore = 0666;
// For opening: the mode that the file has.
inline constexpr mode_t kModeAsItIs = mode_t(-1);

// As MORVBDbOpen; answers 0 and the handle, or an error code.
//
// mode: a new file gets it less the umask; opened by root, a file that has another one is given it
int open_store(const char *path, int flags, bool duplicates, mode_t mode, MORVBDB **db) noexcept;

}  // namespace morv
