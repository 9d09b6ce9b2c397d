// Lines of the form "key=value", and the edits of texts made of them. Text in, text out.
#pragma once

#include <string>
#include <string_view>

namespace morv {

// One line taken apart.
struct KeyLine {
    std::string_view key;      // trimmed
    std::string_view raw_key;  // as it stands before the "=", without the line's end
    std::string_view value;    // all after the first "=", line feed left out, untrimmed
    bool has_value;            // anything at all stands after a "="
};

// Takes `line` apart. Comments are not this function's business.
KeyLine parse_key_line(std::string_view line) noexcept;

// The first line at or after `from` that holds `key`; empty when there is none. `line.data() - text.data()`
// is its place.
std::string_view find_key_line(std::string_view text, std::string_view key, size_t from = 0) noexcept;

// The value of the first line of `key` as far as it is text, trimmed; empty when there is none.
std::string_view find_key_value(std::string_view text, std::string_view key) noexcept;

// Appends `text` to `out` with the first line of `key` replaced and the further ones dropped; adds a line
// when there is none. Answers an error code. May throw std::bad_alloc.
int set_key(std::string_view text, std::string_view key, std::string_view value, const char *format,
            std::string &out);

// Appends `text` to `out` without the lines of `key`, and answers how many were left out.
int remove_key(std::string_view text, std::string_view key, std::string &out);

// Whether a text can stand in a line without becoming lines of its own.
inline bool is_one_line(std::string_view text) noexcept {
    return text.find('\n') == text.npos;
}

// Whether a text can be the key that a writer is to change. Any blank line holds the empty one.
inline bool is_key(std::string_view key) noexcept {
    return !key.empty() && is_one_line(key);
}

}  // namespace morv
