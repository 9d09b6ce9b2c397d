// Single settings of configuration files.
#pragma once

#include <string_view>

namespace morv {

// For readers to whom a setting that cannot be read is one that is not there: whether the first line of
// `key` has this value; the case of ASCII letters does not count. `path` is the system's.
bool has_key_value(const char *path, std::string_view key, std::string_view value) noexcept;

// Sets a key as MLIBFileSetKeyValue does, but gives a last line without line feed one first. Answers an
// error code; the file is then as it was.
int set_key_value(const char *path, std::string_view key, std::string_view value,
                  const char *format) noexcept;

}  // namespace morv
