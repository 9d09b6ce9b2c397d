// The pairs of a whole file or of a section, read into a hash.
#pragma once

#include <morvsdk/hash.h>

#include "core/file/file_text.h"

namespace morv {

// A piece of the file's text as a C string, which it becomes where it stands. It must not reach to the end of
// its line.
inline const char *make_c_text(FileText &file, std::string_view piece) noexcept {
    // An empty one may lie on the first byte of the next line.
    if (piece.empty()) return "";
    char *const text = file.data() + (piece.data() - file.data());
    text[piece.size()] = '\0';
    return text;
}

// Stores each pair of the lines in `part`, a piece of `file`, whose bytes are written over. Lines without "="
// or without a key are skipped; the splitter of pairs then leaves its error. Lines that open with a byte of
// `skipped` are no pairs. Answers an error code.
int store_pairs(FileText &file, std::string_view part, const char *skipped, MLIBSZHASH **hash) noexcept;

// Does that with the first section of that name in a file; without one nothing is stored.
int read_section(const char *path, const char *section, const char *skipped, MLIBSZHASH **hash) noexcept;

}  // namespace morv
