// The blocks of account records: one from malloc, a header and behind it the texts, each with its NUL, one
// after the other.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

namespace morv {

// Whether `at` points into the `size` bytes at `block` (null: no).
bool lies_in(const void *at, const void *block, int64_t size) noexcept;

// Makes room for a header of `header` bytes, and places copies of the texts behind it.
//
// block, size: null and 0, or a block to be used again. It is overwritten first, for there may be a password
//              in it, and replaced when it is too small.
// copies:      receives where the copy of each text is. A null or empty text is the block's last byte.
//
// Answers 0, ERR_BAD_PARAMETERS (a text lies in the block) or ERR_OUT_OF_MEMORY; block and size are then as
// they were.
int make_record(void **block, int32_t *size, size_t header, std::span<const char *const> texts,
                char **copies) noexcept;

// The user `name` or the group `name` is of a domain: DOMAIN\name.
bool is_domain_name(const char *name) noexcept;

}  // namespace morv
