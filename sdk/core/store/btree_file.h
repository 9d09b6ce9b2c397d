// Opening a btree file that lies where everybody can write.
#pragma once

#include <sys/types.h>

struct __db;

namespace morv {

// Opens the btree at `path`, after looking whether it is a sound one, and creates or empties it where `flags`
// (as for open(2)) say so. Nothing is printed, neither now nor by later calls on the handle.
//
// duplicates:  whether a key may have several records; refused for a file that was made without
// create_mode: of a new file, less the umask
//
// Answers 0, the handle of the 1.85 interface and the file's mode, or an errno; EINVAL: the file is no sound
// btree of that kind.
int open_btree(const char *path, int flags, bool duplicates, mode_t create_mode, struct __db **db,
               mode_t *mode) noexcept;

// Puts a random name beside `path` into `name`, of `room` bytes. Answers 0 or an errno.
int name_beside(const char *path, char *name, unsigned long room) noexcept;

}  // namespace morv
