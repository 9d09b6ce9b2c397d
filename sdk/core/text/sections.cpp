#include "core/text/sections.h"

#include <string.h>

#include "core/text/lines.h"

namespace morv {

// What may stand behind a section's name: more kinds of blank than around keys.
static constexpr std::string_view kBlanks = " \t\n\v\f\r";

bool is_section_line(std::string_view line) noexcept {
    line = up_to_nul(line);
    if (line.empty() || line[0] != '[') return false;
    return line[line.find_last_not_of(kBlanks)] == ']';
}

bool opens_section(std::string_view line, std::string_view name) noexcept {
    line = up_to_nul(line);
    if (line.size() < name.size() + 2 || line[0] != '[' || line.substr(1, name.size()) != name) return false;
    line.remove_prefix(name.size() + 1);
    return line[0] == ']' && line.find_first_not_of(kBlanks, 1) == line.npos;
}

std::string_view find_section_line(std::string_view text, std::string_view name) noexcept {
    if (name.empty()) {
        for (const std::string_view line : Lines(text)) {
            if (opens_section(line, name)) return line;
        }
        return {};
    }
    for (size_t from = 0; from < text.size();) {
        const void *hit = memmem(text.data() + from, text.size() - from, name.data(), name.size());
        if (!hit) break;
        const std::string_view line = line_around(text, size_t(static_cast<const char *>(hit) - text.data()));
        if (opens_section(line, name)) return line;
        from = size_t(line.data() - text.data()) + line.size();
    }
    return {};
}

std::string_view section_body(std::string_view text, std::string_view opening) noexcept {
    text.remove_prefix(size_t(opening.data() - text.data()) + opening.size());
    if (text.empty() || text[0] == '[') return text.substr(0, 0);
    const size_t end = text.find("\n[");
    return text.substr(0, end == text.npos ? text.npos : end + 1);
}

}  // namespace morv
