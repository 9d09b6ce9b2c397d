#include <morvsdk/file.h>
#include <strings.h>

#include "core/base/fail.h"
#include "core/base/log.h"

// Case is that of ASCII alone, whatever the locale.
static bool equal_but_for_case(const char *a, const char *b) noexcept {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
    while (*a && lower(*a) == lower(*b))
        ++a, ++b;
    return *a == '\0' && *b == '\0';
}

extern "C" int BlMORVFileCheckKeyValue(const char *path, const char *key, const char *expected,
                                       int fallback) noexcept {
    if (!path || !key || !expected) return 0;
    char value[512];
    const int length = MLIBFileGetKeyValue(path, key, value, sizeof value, 0);
    if (length < 0) {
        MORV_LOG(LOG_ERR, "MLIBFileGetKeyValue(%s) failed, morverr=0x%04X", key, unsigned(MLIBErrGet()));
        return 0;
    }
    return length == 0 ? fallback : equal_but_for_case(value, expected);
}
