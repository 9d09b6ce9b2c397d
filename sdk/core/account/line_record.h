// Records of the C library, made from lines of the account files in a buffer that a caller lends again and
// again.
#pragma once

#include <stddef.h>

#include <span>

namespace morv {

// Grows a buffer (null and 0, or from malloc) to `needed` bytes; its content may be lost. Answers 0 or
// ERR_OUT_OF_MEMORY, and the buffer is then as it was.
int lend_buffer(void **buffer, int *size, size_t needed) noexcept;

// Cuts a line at ":" into exactly fields.size() fields (up to 9), and copies them, each with a NUL, into
// the buffer behind `header` bytes, which the caller fills. `fields` receives the copies.
//
// Answers 0, ERR_BAD_PARAMETERS (null, or the line lies in the buffer), ERR_FORMAT_ERROR (another number of
// fields) or ERR_OUT_OF_MEMORY.
int cut_line(const char *line, void **buffer, int *size, size_t header, std::span<char *> fields) noexcept;

}  // namespace morv
