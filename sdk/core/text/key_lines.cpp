#include "core/text/key_lines.h"

#include <morvsdk/errcodes.h>
#include <string.h>

#include "core/text/lines.h"
#include "core/text/pair_format.h"
#include "core/text/trim.h"

namespace morv {

KeyLine parse_key_line(std::string_view line) noexcept {
    const std::string_view text = without_line_feed(up_to_nul(line));
    KeyLine parsed{};
    // A line that begins with "=" takes its key from behind it.
    const size_t start = text.find_first_not_of('=');
    if (start == text.npos) {
        parsed.raw_key = text;
    } else {
        parsed.raw_key = text.substr(0, text.find('=', start));
        parsed.key = trim(parsed.raw_key.substr(start));
    }
    const size_t equals = text.find('=');
    if (equals == text.npos) {
        // The key is the whole line: what ends the line is not part of it.
        if (!parsed.raw_key.empty() && parsed.raw_key.back() == '\r') parsed.raw_key.remove_suffix(1);
    } else {
        parsed.value = text.substr(equals + 1);
        parsed.has_value = !parsed.value.empty();
    }
    return parsed;
}

namespace {

bool holds_key(std::string_view line, std::string_view key) noexcept {
    return !is_comment(line) && parse_key_line(line).key == key;
}

}  // namespace

std::string_view find_key_line(std::string_view text, std::string_view key, size_t from) noexcept {
    if (key.empty()) {
        for (std::string_view line : Lines(text.substr(from))) {
            if (holds_key(line, key)) return line;
        }
        return {};
    }
    // A line that holds the key has its bytes in a row, so the search looks at those lines alone.
    while (from < text.size()) {
        const void *hit = memmem(text.data() + from, text.size() - from, key.data(), key.size());
        if (!hit) break;
        const std::string_view line = line_around(text, size_t(static_cast<const char *>(hit) - text.data()));
        if (holds_key(line, key)) return line;
        from = size_t(line.data() - text.data()) + line.size();
    }
    return {};
}

int set_key(std::string_view text, std::string_view key, std::string_view value, const char *format,
            std::string &out) {
    out.reserve(out.size() + text.size() + key.size() + value.size() + 16);
    size_t done = 0;
    bool found = false;
    for (;;) {
        const std::string_view line = find_key_line(text, key, done);
        if (line.empty()) break;
        const size_t at = size_t(line.data() - text.data());
        out.append(text, done, at - done);
        done = at + line.size();
        if (found) continue;
        found = true;
        if (int code = append_pair(out, format, parse_key_line(line).raw_key, value)) return code;
    }
    out.append(text, done);
    return found ? 0 : append_pair(out, format, key, value);
}

std::string_view find_key_value(std::string_view text, std::string_view key) noexcept {
    return trim(up_to_nul(parse_key_line(find_key_line(text, key)).value));
}

int remove_key(std::string_view text, std::string_view key, std::string &out) {
    size_t done = 0;
    int dropped = 0;
    for (;;) {
        const std::string_view line = find_key_line(text, key, done);
        if (line.empty()) break;
        const size_t at = size_t(line.data() - text.data());
        out.append(text, done, at - done);
        done = at + line.size();
        ++dropped;
    }
    if (dropped > 0) out.append(text, done);
    return dropped;
}

}  // namespace morv
