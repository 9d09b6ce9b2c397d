#include <morvsdk/internal/list.h>

#include "core/text/case.h"

extern "C" int MLIBISzListUTF8StrCasecmp(const void *pItemA, const void *pItemB) noexcept {
    return morv::case_compare_all(*static_cast<const char *const *>(pItemA),
                                  *static_cast<const char *const *>(pItemB));
}
