#include <morvsdk/internal/string.h>
#include <morvsdk/list.h>
#include <string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrTok(const char *string, const char *delimiters, MLIBSZLIST **ppList) noexcept {
    if (!string || !delimiters || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::MallocPtr<char> copy = morv::copy_text(string);
    if (!copy) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    int count = 0;
    char *cursor = copy.get();
    while (const char *token = MLIBIStrTok(&cursor, delimiters)) {
        if (MLIBSzListPush(ppList, token) < 0) return -1;
        ++count;
    }
    return count;
}
