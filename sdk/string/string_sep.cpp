#include <morvsdk/list.h>
#include <morvsdk/string.h>
#include <string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrSep(const char *string, const char *delimiters, MLIBSZLIST **ppList) noexcept {
    if (!string || !delimiters || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    // Both may lie in the list, which moves as it grows.
    const morv::MallocPtr<char> copy = morv::copy_text(string);
    const morv::MallocPtr<char> set = morv::copy_text(delimiters);
    if (!copy || !set) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    int count = 0;
    char *cursor = copy.get();
    while (const char *field = strsep(&cursor, set.get())) {
        if (MLIBSzListPush(ppList, field) < 0) return -1;
        ++count;
    }
    return count;
}
