// Walking the lines of a text:
//
//     for (size_t at = 0; at < text.size(); at = next_line(text, at))
//         ...line_at(text, at)...
#pragma once

#include <string_view>

namespace morvctl {

// The line that begins at `at`, without its line feed.
inline std::string_view line_at(std::string_view text, size_t at) {
    return text.substr(at, text.find('\n', at) - at);
}

// Where the next line begins; the end of the text behind the last one.
inline size_t next_line(std::string_view text, size_t at) {
    const size_t end = text.find('\n', at);
    return end == text.npos ? text.size() : end + 1;
}

// What the library compares of a line.
inline std::string_view up_to_nul(std::string_view line) {
    return line.substr(0, line.find('\0'));
}

inline bool is_comment(std::string_view line) {
    return !line.empty() && (line[0] == '#' || line[0] == ';');
}

}  // namespace morvctl
