#include <morvsdk/internal/log.h>

#include <algorithm>
#include <iterator>
#include <span>

#include "core/base/fail.h"
#include "core/text/lines.h"
#include "log/connection_line.h"

using namespace morv;

// Cuts a line at every two blanks or more. Answers the number of its fields; one more than there is room for
// when it has more.
static size_t split_columns(std::string_view line, std::span<std::string_view> fields) noexcept {
    size_t count = 0;
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        if (line.empty()) return count;
        if (count == fields.size()) return count + 1;
        const size_t end = std::min(line.find("  "), line.find_last_not_of(' ') + 1);
        fields[count++] = line.substr(0, end);
        line.remove_prefix(end);
    }
}

// A table whose second column is the time as a number.
static bool parse_columns(std::string_view line, Connection &connection) noexcept {
    std::string_view fields[5];
    if (split_columns(line, fields) < std::size(fields)) return false;
    connection = {0, fields[3], fields[2], fields[4]};
    return parse_seconds(fields[1], connection.time);
}

extern "C" int MORVLogIProcSmb(const char *line, char *report, int size) noexcept {
    if (!line || !report || size <= 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = without_line_feed(line);
    for (const std::string_view heading : {"Samba", "Service", "-----"}) {
        if (text.find(heading) != text.npos) return 0;
    }
    Connection connection;
    if (!parse_samba_line(text, connection) && !parse_columns(text, connection)) return 0;
    if (int code = write_connection(connection, kFileSharing, report, size)) return MORV_FAIL(code, -1);
    return 1;
}
