#include <morvsdk/string.h>
#include <string.h>

#include "core/base/fail.h"

extern "C" int MLIBStrInsertAfter(char *string, const char *needle, const char *text, char *dst,
                                  int size) noexcept {
    if (!string || !needle || !text || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    char *const found = strstr(string, needle);
    if (!found) return 0;
    return MLIBStrInsert(string, found + strlen(needle), text, dst, size);
}
