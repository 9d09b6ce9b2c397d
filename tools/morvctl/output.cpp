#include "morvctl/output.h"

#include <stdio.h>

#include <algorithm>

namespace morvctl {

namespace {

// Whether a text begins with a character that a terminal obeys instead of showing it: the second set of control
// characters, and those that turn the direction of what follows.
bool is_hidden(std::string_view text) {
    const auto between = [&](std::string_view prefix, int first, int last) {
        if (text.size() <= prefix.size() || !text.starts_with(prefix)) return false;
        const int byte = static_cast<unsigned char>(text[prefix.size()]);
        return byte >= first && byte <= last;
    };
    return between("\xC2", 0x80, 0x9F) || between("\xE2\x80", 0xAA, 0xAE) || between("\xE2\x81", 0xA6, 0xA9);
}

// The length of the UTF-8 character that the text starts with; 0 when there is none, or it is hidden.
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
    return is_hidden(text) ? 0 : length;
}

// The blocks of characters that take two columns of a terminal, and those that take none.
constexpr struct {
    char32_t first;
    char32_t last;
    size_t columns;
} kOtherWidths[] = {
    {0x0300, 0x036F, 0},   {0x1100, 0x115F, 2},   {0x200B, 0x200F, 0},   {0x20D0, 0x20FF, 0},
    {0x2E80, 0x303E, 2},   {0x3041, 0xA4CF, 2},   {0xAC00, 0xD7A3, 2},   {0xF900, 0xFAFF, 2},
    {0xFE00, 0xFE0F, 0},   {0xFE30, 0xFE6F, 2},   {0xFF00, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2},
    {0x1F300, 0x1F64F, 2}, {0x1F900, 0x1F9FF, 2}, {0x20000, 0x3FFFD, 2},
};

size_t columns_of(char32_t character) {
    for (const auto &block : kOtherWidths) {
        if (character >= block.first && character <= block.last) return block.columns;
    }
    return 1;
}

// The columns of escaped text, all of which is sound UTF-8.
size_t width(std::string_view text) {
    size_t columns = 0;
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        char32_t character =
            static_cast<unsigned char>(text[0]) & (length == 1 ? 0x7F : 0xFF >> (length + 1));
        for (size_t i = 1; i < length; ++i)
            character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
        columns += columns_of(character);
        text.remove_prefix(length);
    }
    return columns;
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

std::string json_text(const Json &document, int indent) {
    const std::string text = document.dump(indent, ' ', false, Json::error_handler_t::replace);
    std::string shown;
    for (size_t at = 0; at < text.size();) {
        const std::string_view rest = std::string_view(text).substr(at);
        if (rest[0] != '\x7f' && !is_hidden(rest)) {
            shown += text[at++];
            continue;
        }
        // Such characters are only ever in strings.
        const auto byte = [&](size_t i) { return static_cast<unsigned char>(rest[i]); };
        const size_t length = byte(0) == 0x7F ? 1 : byte(0) == 0xC2 ? 2 : 3;
        unsigned character = length == 3 ? byte(0) & 0x0FU : length == 2 ? byte(0) & 0x1FU : byte(0);
        for (size_t i = 1; i < length; ++i)
            character = character << 6 | (byte(i) & 0x3FU);
        char code[8];
        snprintf(code, sizeof code, "\\u%04x", character);
        shown += code;
        at += length;
    }
    return shown;
}

void print_json(const Json &document) {
    print_line(json_text(document, 2));
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

std::vector<std::string> table_lines(Rows rows) {
    std::vector<size_t> widest;
    return table_lines(std::move(rows), widest);
}

std::vector<std::string> table_lines(Rows rows, std::vector<size_t> &widest) {
    std::vector<std::string> lines;
    for (auto &row : rows) {
        widest.resize(std::max(widest.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) {
            row[i] = printable(row[i]);
            widest[i] = std::max(widest[i], width(row[i]));
        }
    }
    for (const auto &row : rows) {
        std::string line;
        size_t missing = 0;
        for (size_t i = 0; i < row.size(); ++i) {
            // Blanks only where something follows.
            if (!row[i].empty()) line.append(std::exchange(missing, 0), ' ').append(row[i]);
            if (widest[i] != 0) missing += widest[i] - width(row[i]) + 2;
        }
        lines.push_back(line);
    }
    return lines;
}

void print_table(Rows rows) {
    for (const std::string &line : table_lines(std::move(rows)))
        print_line(line);
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
