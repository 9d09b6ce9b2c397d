#include "morvctl/output.h"

#include <stdio.h>

#include <algorithm>

namespace morvctl {

namespace {

// The length of the UTF-8 character that the text starts with; 0 when there is none.
size_t utf8_length(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    const size_t length = first >= 0xC2 && first < 0xE0   ? 2
                          : first >= 0xE0 && first < 0xF0 ? 3
                          : first >= 0xF0 && first < 0xF5 ? 4
                                                          : 0;
    if (length == 0 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Overlong forms, surrogates, and what lies beyond the last character.
    const unsigned char second = byte(1);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) {
        return 0;
    }
    // The second set of control characters.
    if (first == 0xC2 && second < 0xA0) return 0;
    return length;
}

size_t width(std::string_view text) {
    return size_t(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string escaped(std::string_view text, bool keep_backslash) {
    std::string shown;
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        const unsigned char c = static_cast<unsigned char>(text[0]);
        char code[8];
        if (length > 1) {
            shown.append(text.substr(0, length));
            text.remove_prefix(length);
            continue;
        }
        if (c == '\\' && !keep_backslash) {
            shown += "\\\\";
        } else if (c == '\n') {
            shown += "\\n";
        } else if (c == '\t') {
            shown += "\\t";
        } else if (c == '\r') {
            shown += "\\r";
        } else if (length == 0 || c < 0x20 || c == 0x7F) {
            snprintf(code, sizeof code, "\\x%02x", c);
            shown += code;
        } else {
            shown += char(c);
        }
        text.remove_prefix(1);
    }
    return shown;
}

}  // namespace

void print_json(const Json &document) {
    print_line(document.dump(2, ' ', false, Json::error_handler_t::replace));
}

void print_raw(std::string_view text) {
    fwrite(text.data(), 1, text.size(), stdout);
}

void print_line(std::string_view text) {
    print_raw(text);
    fputc('\n', stdout);
}

void print_pairs(const Pairs &pairs) {
    size_t widest = 0;
    for (const auto &pair : pairs)
        widest = std::max(widest, width(escape(pair.first)));
    for (const auto &[name, value] : pairs) {
        std::string line = escape(name);
        line.append(widest - width(line), ' ').append(" = ").append(escape(value));
        print_line(line);
    }
}

std::string escape(std::string_view text) {
    return escaped(text, false);
}

std::string printable(std::string_view text) {
    return escaped(text, true);
}

Json pairs_json(const Pairs &pairs) {
    Json object = Json::object();
    for (const auto &[name, value] : pairs)
        object[name] = value;
    return object;
}

}  // namespace morvctl
