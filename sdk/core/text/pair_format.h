// Formats for writing a key and its value, "%s=%s\n" and what callers pass instead of it.
#pragma once

#include <string>
#include <string_view>

namespace morv {

inline constexpr const char *kPairFormat = "%s=%s\n";

// Whether `format` holds "%s", after it "=", after that a second "%s", after that a line feed. Null is
// accepted.
bool is_pair_format(const char *format) noexcept;

// Appends `format` (null: kPairFormat) to `out`, its first "%s" replaced by `key`, its second by `value`.
//
// Formats come from callers and never reach printf. Understood are at most two string conversions, with the
// flag "-", width and precision in digits as printf has them (other flags mean nothing to a string), and
// "%%".
//
// Returns 0, ERR_BAD_PARAMETERS (any other conversion, a "*", a third string) or ERR_OUT_OF_MEMORY; `out` is
// then as it was. Neither `key` nor `value` may lie in `out`.
int append_pair(std::string &out, const char *format, std::string_view key, std::string_view value) noexcept;

}  // namespace morv
