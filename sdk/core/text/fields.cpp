#include "core/text/fields.h"

namespace morv {

size_t split_fields(std::string_view line, char separator, std::span<std::string_view> fields) noexcept {
    size_t count = 0;
    for (;;) {
        if (count == fields.size()) return count + 1;
        const size_t end = line.find(separator);
        fields[count++] = line.substr(0, end);
        if (end == line.npos) return count;
        line.remove_prefix(end + 1);
    }
}

int64_t leading_number(std::string_view text) noexcept {
    while (!text.empty() && (text.front() == ' ' || (text.front() >= '\t' && text.front() <= '\r')))
        text.remove_prefix(1);
    if (text.empty()) return 0;
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') text.remove_prefix(1);
    const int64_t limit = negative ? int64_t{1} << 31 : UINT32_MAX;
    int64_t number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        number = number * 10 + (c - '0');
        if (number > limit) {
            number = limit;
            break;
        }
    }
    return negative ? -number : number;
}

}  // namespace morv
