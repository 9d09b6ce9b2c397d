// Clearing a name that somebody else has taken in a folder that everybody can write.
#pragma once

namespace morv {

// Renames what stands at `path` to a random name beside it, whatever it is. Answers whether that worked.
bool move_aside(const char *path) noexcept;

// The same for what is no regular file; a regular one, or nothing, is left where it is.
void move_aside_unless_regular(const char *path) noexcept;

}  // namespace morv
