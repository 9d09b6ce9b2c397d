#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "file/piece_reader.h"

extern "C" int MLIBFileReadLines(const char *path, MLIBSZLIST **list) noexcept {
    if (!path || !list || !*list) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    bool pushed = true;
    const int code = morv::for_each_piece(path, [&](const char *piece) {
        pushed = MLIBSzListPush(list, piece) >= 0;
        return pushed;
    });
    if (code != 0) return MORV_FAIL(code, -1);
    return pushed ? 0 : -1;
}
