// Files divided by lines "[name]".
#pragma once

#include <string_view>

namespace morv {

// Whether a line opens a section: "[" first, "]" last but for blanks.
bool is_section_line(std::string_view line) noexcept;

// Whether a line opens the section `name`.
bool opens_section(std::string_view line, std::string_view name) noexcept;

// The line that opens the first section `name`; empty when there is none.
std::string_view find_section_line(std::string_view text, std::string_view name) noexcept;

// What a reader takes as the body of the section opened by `opening`, a line of `text`: all up to the next
// line that starts with "[".
std::string_view section_body(std::string_view text, std::string_view opening) noexcept;

}  // namespace morv
