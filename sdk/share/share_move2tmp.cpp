#include <morvsdk/share.h>

#include "core/base/fail.h"
#include "share/folders.h"

using namespace morv;

extern "C" int MORVShareMove2Tmp(const char *path) noexcept {
    if (!path) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (*path != '/') return MORV_FAIL(ERR_INVALID_PATH, -1);
    PathPlace place;
    int code = place.open(path);
    if (code == 0) code = discard_folder(place);
    return code == 0 ? 0 : MORV_FAIL(code, -1);
}
