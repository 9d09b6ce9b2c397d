#include <morvsdk/internal/log.h>

#include "core/base/fail.h"
#include "core/text/fields.h"
#include "core/text/lines.h"
#include "log/connection_line.h"

using namespace morv;

extern "C" int MORVLogIProcFTP(const char *line, char *report, int size) noexcept {
    if (!line || !report || size <= 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    std::string_view fields[5];
    const size_t count = split_fields(without_line_feed(line), '\t', fields);
    if (count < 4) return 0;
    Connection connection = {0, fields[3], fields[2], count == 5 ? fields[4] : "@FTP Service"};
    if (!parse_seconds(fields[1], connection.time)) return 0;
    if (int code = write_connection(connection, kFtp, report, size)) return MORV_FAIL(code, -1);
    return 1;
}
