#include "morvctl/csv.h"

#include <string.h>

namespace morvctl {

namespace {

// Reads one field at `from`, writes it without its quotes to the same place, which is never longer, and
// answers what comes behind it: a comma, a line feed, or a zero for the end of the text.
struct Field {
    char *begin;
    char *end;  // where its zero goes
    char *next;
    char behind;
    int lines;  // line feeds in it
    bool is_sound;
};

Field read_field(char *from, const char *text_end) {
    Field field{from, from, from, '\0', 0, true};
    char *to = from;
    const bool quoted = from < text_end && *from == '"';
    if (quoted) {
        for (++from;; ++from) {
            if (from >= text_end) {
                field.is_sound = false;
                break;
            }
            if (*from == '"' && (from + 1 >= text_end || from[1] != '"')) {
                ++from;
                break;
            }
            if (*from == '"') ++from;
            if (*from == '\n') ++field.lines;
            *to++ = *from;
        }
    }
    // Behind a closing quote nothing may stand but the end of the field.
    while (from < text_end && *from != ',' && *from != '\n') {
        const bool ends_line = *from == '\r' && (from + 1 == text_end || from[1] == '\n');
        if (!ends_line) {
            if (quoted || *from == '"') field.is_sound = false;
            *to++ = *from;
        }
        ++from;
    }
    field.end = to;
    field.behind = from < text_end ? *from : '\0';
    field.next = from < text_end ? from + 1 : from;
    return field;
}

}  // namespace

std::vector<CsvRow> parse_csv(Secret &text) {
    std::vector<CsvRow> rows;
    char *at = text.data();
    const char *end = at ? at + text.size() : nullptr;
    if (at && text.size() >= 3 && memcmp(at, "\xEF\xBB\xBF", 3) == 0) at += 3;
    for (int line = 1; at < end;) {
        CsvRow row{line, {}, ""};
        for (;;) {
            const Field field = read_field(at, end);
            at = field.next;
            line += field.lines;
            if (memchr(field.begin, '\0', size_t(field.end - field.begin)))
                row.fault = "it holds a zero byte";
            if (!field.is_sound) row.fault = "its quotes are not in order";
            row.fields.push_back(field.begin);
            *field.end = '\0';
            if (field.behind != ',') break;
        }
        ++line;
        if (row.fields.size() > 1 || *row.fields[0] || !row.fault.empty()) rows.push_back(std::move(row));
    }
    return rows;
}

std::string csv_row(const std::vector<std::string> &fields) {
    std::string row;
    for (const std::string &field : fields) {
        if (&field != &fields.front()) row += ',';
        if (field.find_first_of(",\"\r\n") == field.npos) {
            row += field;
            continue;
        }
        row += '"';
        for (const char c : field)
            row.append(c == '"' ? 2 : 1, c);
        row += '"';
    }
    return row + "\n";
}

}  // namespace morvctl
