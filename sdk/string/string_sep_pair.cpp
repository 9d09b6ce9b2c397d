#include <morvsdk/list.h>
#include <morvsdk/string.h>
#include <string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrSepPair(const char *string, MLIBSZLIST **ppList) noexcept {
    if (!string || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::MallocPtr<char> copy = morv::copy_text(string);
    if (!copy) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    char *value = copy.get();
    char *const key = strsep(&value, "=");
    if (MLIBStrTrimSpace(key, nullptr) <= 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (MLIBSzListPush(ppList, key) < 0) return -1;
    if (!value) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    MLIBStrTrimSpace(value, nullptr);
    return MLIBSzListPush(ppList, value) < 0 ? -1 : 0;
}
