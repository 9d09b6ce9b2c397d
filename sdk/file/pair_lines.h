// The pairs of a whole file or of a section, read into a hash.
#pragma once

#include <morvsdk/hash.h>

#include "core/file/file_text.h"

namespace morv {

// Stores each pair of the lines in `part`, a piece of `file`, whose bytes are written over. Lines without "="
// or without a key are skipped; the splitter of pairs then leaves its error. Lines that open with a byte of
// `skipped` are no pairs. Answers an error code.
int store_pairs(FileText &file, std::string_view part, const char *skipped, MLIBSZHASH **hash) noexcept;

}  // namespace morv
