#include <morvsdk/file.h>
#include <string.h>

#include "core/base/fail.h"
#include "file/piece_reader.h"

extern "C" int MLIBFileMatchLineNo(const char *path, const char *text) noexcept {
    if (!path || !text) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int number = 0;
    bool found = false;
    const int code = morv::for_each_piece(path, [&](char *piece) {
        ++number;
        const size_t length = strlen(piece);
        if (length > 0) piece[length - 1] = '\0';
        found = strcmp(piece, text) == 0;
        return !found;
    });
    if (code != 0) return MORV_FAIL(code, -1);
    return found ? number : 0;
}
