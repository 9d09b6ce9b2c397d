#include <morvsdk/internal/log.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"

extern "C" int MORVLogIWrite2Mem(const MLIBSZLIST *list, char **ppText) noexcept {
    if (!list || !ppText) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (list->nItem <= 0) {
        *ppText = nullptr;
        return 0;
    }
    // A list holds less than 2 GiB, its texts included.
    size_t size = 1;
    for (int i = 0; i < list->nItem; ++i)
        size += strlen(list->pszItem[i]) + 1;
    char *const text = static_cast<char *>(malloc(size));
    if (!text) {
        syslog(LOG_ERR, "%s (%d), MORVMAlloc error", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    }
    char *at = text;
    for (int i = 0; i < list->nItem; ++i) {
        const size_t length = strlen(list->pszItem[i]);
        memcpy(at, list->pszItem[i], length);
        at[length] = '\t';
        at += length + 1;
    }
    at[-1] = '\0';
    *ppText = text;
    return list->nItem;
}
