// A hash as lines of a file.
#pragma once

#include <morvsdk/hash.h>

#include <string>

namespace morv {

// Appends "[section]" unless `section` is null, then a line for each pair of `hash` (null: none) in its own
// order. Answers 0, ERR_BAD_PARAMETERS (a format that MLIBIFileCheckFormat refuses or that holds other
// conversions, an empty key, a line feed in a name, key or value, or a line in a section that would start
// with "[") or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
int append_hash(std::string &out, const char *section, const MLIBSZHASH *hash, const char *format);

}  // namespace morv
