#include "core/text/trim.h"

namespace morv {

std::string_view trim_blanks(std::string_view text) noexcept {
    while (!text.empty() && is_blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view trim(std::string_view text) noexcept {
    text = trim_blanks(text);
    if (text.size() > 1 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

}  // namespace morv
