// The small files by which the kernel tells its state. Paths are the system's: they are looked for below the
// system root.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace morv {

// The names in a folder that begin with `prefix`, sorted by bytes; none where there is no such folder.
// Answers 0, ERR_UNKNOWN or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
int list_names(const char *folder, std::string_view prefix, std::vector<std::string> &names);

// The first line of a file, without its line feed, as far as it lies in the first bytes that fit `room`.
// Answers 0, ERR_OPEN_FAILED, or ERR_READ_FAILED (also for an empty file).
int read_attribute(const char *path, std::span<char> room, std::string_view &line) noexcept;

}  // namespace morv
