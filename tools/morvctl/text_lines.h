// The lines of a file, and how to point the library's line functions at just one of them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvctl {

// The lines without their line feeds.
std::vector<std::string> split_lines(std::string_view content);

// The MORV_LINE_... flags with which the text of lines[index], as a pattern, chooses just that line; nothing
// when none do: lines that begin with the same text stand before it and after it, or it cannot match at all.
std::optional<int> flags_for(const std::vector<std::string> &lines, size_t index);

}  // namespace morvctl
