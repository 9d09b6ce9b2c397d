// How the account families open a mirror's stores.
#pragma once

#include <morvsdk/bdb.h>

namespace morv {

// Opens the store at `path` for reading and writing. One that does not exist is created; a file that is no
// sound store with this duplicates setting is replaced by a new store, renamed over it, unless it is no
// regular file. A new store carries the deprecation mark 0 and nothing else.
//
// created: receives whether the store is new and has to be filled
//
// Answers the handle, or null with the error state as MORVBDbOpen or MORVBDbSet has set it.
MORVBDB *open_store(const char *path, bool duplicates, bool *created) noexcept;

}  // namespace morv
