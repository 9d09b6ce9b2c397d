#include "morvctl/text_lines.h"

#include <morvsdk/file.h>

namespace morvctl {

std::vector<std::string> split_lines(std::string_view content) {
    std::vector<std::string> lines;
    while (!content.empty()) {
        const size_t end = std::min(content.find('\n'), content.size());
        lines.emplace_back(content.substr(0, end));
        content.remove_prefix(std::min(end + 1, content.size()));
    }
    return lines;
}

std::optional<int> flags_for(const std::vector<std::string> &lines, size_t index) {
    const std::string &wanted = lines[index];
    if (wanted.empty() || wanted[0] == '#' || wanted[0] == ';' || wanted.find('\0') != wanted.npos) return {};
    bool before = false;
    bool after = false;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!lines[i].starts_with(wanted)) continue;
        before = before || i < index;
        after = after || i > index;
    }
    if (!before) return MORV_LINE_PREFIX;
    if (!after) return MORV_LINE_PREFIX | MORV_LINE_LAST;
    return {};
}

}  // namespace morvctl
