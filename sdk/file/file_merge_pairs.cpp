#include <morvsdk/file.h>

#include "core/base/fail.h"

extern "C" int MLIBFileMergePairs(const char *path, const MLIBSZHASH *hash, const char *format) noexcept {
    if (!path || !hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (hash->nPair <= 0) return MORV_FAIL(ERR_OP_FAILURE, -1);
    for (int i = 0; i < hash->nBucket; ++i) {
        const MLIBSZHASHBUCKET &pair = hash->bucket[i];
        if (!pair.pszKey) continue;
        if (!pair.pszValue) return MORV_FAIL(ERR_KEY_NOT_FOUND, -1);
        if (MLIBFileSetKeyValue(path, pair.pszKey, pair.pszValue, format) < 0) {
            return MORV_FAIL(ERR_WRITE_FAILED, -1);
        }
    }
    return 0;
}
