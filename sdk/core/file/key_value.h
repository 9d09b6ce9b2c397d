// Single settings of configuration files.
#pragma once

#include <span>
#include <string_view>

namespace morv {

// For readers to whom a setting that cannot be read is one that is not there: whether the first line of
// `key` has this value; the case of ASCII letters does not count. `path` is the system's.
bool has_key_value(const char *path, std::string_view key, std::string_view value) noexcept;

// Sets a key as MLIBFileSetKeyValue does, but gives a last line without line feed one first, and a file
// that it makes mode 0644. Answers an error code; the file is then as it was.
int set_key_value(const char *path, std::string_view key, std::string_view value,
                  const char *format) noexcept;

// Reads a key as MLIBFileGetKeyValue does. Answers 0, ERR_KEY_NOT_FOUND, ERR_NOT_ENOUGH_MEMORY,
// ERR_OPEN_FAILED, ERR_READ_FAILED (also for a file of more than a MiB) or ERR_OUT_OF_MEMORY; the value is
// then as it was. What is no file holds nobody up.
int read_key_value(const char *path, std::string_view key, std::span<char> value) noexcept;

// Whether a code of read_key_value, or of MLIBFileGetKeyValue, says that nothing is stored: no such key, or, by errno, no
// such file.
bool is_not_stored(int code) noexcept;

}  // namespace morv
