// Whether a file is a sound btree that Berkeley DB can be let loose on.
#pragma once

#include <stdint.h>

namespace morv {

// Looks at every page that can be reached from the file's first one, each once: the library below trusts
// counts, offsets and page numbers that it finds in a file, and crashes or loops on wrong ones.
//
// fd:         a regular file, open for reading; its offset is not used
// size:       its length in bytes
// duplicates: receives whether a key may have several records
//
// Answers 0, EINVAL for a file that is no sound btree (of this machine's byte order, without the features
// that the record store never asks for), ENOMEM, or the errno of a failed read.
int check_btree(int fd, uint64_t size, bool *duplicates) noexcept;

}  // namespace morv
