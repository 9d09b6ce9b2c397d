#include <morvsdk/internal/log.h>

#include "core/base/fail.h"
#include "core/text/fields.h"
#include "core/text/lines.h"
#include "log/connection_line.h"

using namespace morv;

extern "C" int MORVLogIProcApp(const char *line, char *report, int size) noexcept {
    if (!line || !report || size <= 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    // The line feed stays: it is the last character of a service that ends the line.
    std::string_view fields[5];
    const size_t count = split_fields(line, '\t', fields);
    if (count < 4) return 0;
    if (count == 4) fields[3] = without_line_feed(fields[3]);
    if (!fields[4].empty()) fields[4].remove_suffix(1);
    Connection connection = {0, fields[3], fields[2], fields[4].empty() ? "Apple login" : fields[4]};
    if (!parse_seconds(fields[1], connection.time)) return 0;
    if (int code = write_connection(connection, kAppleSharing, report, size)) return MORV_FAIL(code, -1);
    return 1;
}
