#include <morvsdk/internal/list.h>

#include "list/list_order.h"

extern "C" int MLIBISzListStrcmp(const void *pItemA, const void *pItemB) noexcept {
    return strcmp(*static_cast<const char *const *>(pItemA), *static_cast<const char *const *>(pItemB));
}
