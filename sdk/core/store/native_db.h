// What the 1.85 interface of Berkeley DB cannot do, through its native one. The two headers cannot be
// included together, so this one names neither.
#pragma once

namespace morv {

// Makes an empty btree at `path`, of this mode less the umask, or empties the file that is there. Answers 0 or
// an errno.
int create_btree(const char *path, bool duplicates, int mode) noexcept;

// Keeps a handle's messages off the caller's standard error. `internal` is the field of that name of a 1.85
// handle.
void silence_btree(void *internal) noexcept;

// Whether an open store may hold several records with one key.
bool btree_has_duplicates(void *internal) noexcept;

}  // namespace morv
