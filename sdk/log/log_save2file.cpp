#include <morvsdk/internal/log.h>
#include <stdio.h>

#include "core/base/fail.h"
#include "core/base/guard.h"

using namespace morv;

extern "C" int MORVLogISave2File(const MLIBSZLIST *list, const char *path) noexcept {
    if (!list || !path) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    FilePtr file(fopen(path, "w+e"));
    if (!file) return MORV_FAIL(ERR_OPEN_FAILED, -1);
    for (int i = 0; i < list->nItem; ++i) {
        if (fprintf(file.get(), "%s\n", list->pszItem[i]) < 0) return MORV_FAIL(ERR_WRITE_FAILED, -1);
    }
    if (fclose(file.release()) != 0) return MORV_FAIL(ERR_WRITE_FAILED, -1);
    return list->nItem;
}
