#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_order.h"

namespace {

using namespace morv;

// Puts the text into the slot: over the old one if that is long enough, else into the gap. Answers where it
// is now, null when there is no memory.
char *replace(MLIBSZLIST *&list, int index, const char *text) noexcept {
    const int64_t size = static_cast<int64_t>(strlen(text)) + 1;
    char *const item = list->pszItem[index];
    if (size <= static_cast<int64_t>(strlen(item)) + 1) {
        return static_cast<char *>(memmove(item, text, static_cast<size_t>(size)));
    }
    ListPtr old;
    if (!list_reserve(list, size, old)) return nullptr;
    return list->pszItem[index] = list_store(list, text, size);
}

}  // namespace

extern "C" int MLIBSzListSet(MLIBSZLIST **ppList, int index, const char *sz) noexcept {
    if (!ppList || !*ppList || !sz || index < 0 || index >= (*ppList)->nItem) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const char *const stored = replace(*ppList, index, sz);
    if (!stored) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    const ListOrder order = list_order(*ppList);
    if (order == ListOrder::none) return index;
    list_sort(*ppList, order);
    return MLIBSzListFind(*ppList, stored);
}
