#include "core/account/line_record.h"

#include <limits.h>
#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <string.h>

#include "core/account/record.h"
#include "core/text/fields.h"

namespace morv {

int lend_buffer(void **buffer, int *size, size_t needed) noexcept {
    if (needed > INT_MAX) return ERR_OUT_OF_MEMORY;
    if (*buffer && *size >= static_cast<int>(needed)) return 0;
    void *const grown = realloc(*buffer, needed);
    if (!grown) return ERR_OUT_OF_MEMORY;
    *buffer = grown;
    *size = static_cast<int>(needed);
    return 0;
}

int cut_line(const char *line, void **buffer, int *size, size_t header, std::span<char *> fields) noexcept {
    if (!line || !buffer || !size || *size < 0 || lies_in(line, *buffer, *size)) return ERR_BAD_PARAMETERS;
    std::string_view found[9];
    const std::string_view text(line);
    if (split_fields(text, ':', std::span(found, fields.size())) != fields.size()) return ERR_FORMAT_ERROR;
    if (text.size() > INT_MAX - header - 1) return ERR_OUT_OF_MEMORY;
    if (int code = lend_buffer(buffer, size, header + text.size() + 1)) return code;

    char *const copy = static_cast<char *>(*buffer) + header;
    memcpy(copy, line, text.size() + 1);
    for (size_t i = 0; i < fields.size(); ++i) {
        fields[i] = copy + (found[i].data() - line);
        fields[i][found[i].size()] = '\0';
    }
    return 0;
}

}  // namespace morv
