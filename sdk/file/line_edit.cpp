#include "file/line_edit.h"

namespace morv {

std::string with_line_at(std::string_view text, size_t at, std::string_view line) {
    std::string content;
    content.reserve(text.size() + line.size() + 2);
    content.append(text, 0, at);
    // A last line without line feed stays a line of its own.
    if (at > 0 && text[at - 1] != '\n') content.append("\n");
    content.append(line).append("\n").append(text, at);
    return content;
}

std::string with_line_beside(std::string_view text, std::string_view neighbour, std::string_view line,
                             int flags) {
    size_t at = size_t(neighbour.data() - text.data());
    if (flags & MORV_LINE_AFTER) at += neighbour.size();
    return with_line_at(text, at, line);
}

}  // namespace morv
