#include <morvsdk/unicode.h>

#include "core/base/fail.h"
#include "core/text/case.h"

extern "C" int MLIBUnicodeUTF8StrCaseCmp(const char *a, const char *b) noexcept {
    if (!a || !b) return MORV_FAIL(ERR_BAD_PARAMETERS, morv::case_invalid);
    const int order = morv::case_compare(a, b);
    if (order == morv::case_invalid) return MORV_FAIL(ERR_BAD_PARAMETERS, order);
    return order;
}
