// Single settings of configuration files, for readers to whom one that cannot be read is one that is not there.
#pragma once

#include <string_view>

namespace morv {

// Whether the first line of `key` has this value; the case of ASCII letters does not count. `path` is the
// system's.
bool has_key_value(const char *path, std::string_view key, std::string_view value) noexcept;

}  // namespace morv
