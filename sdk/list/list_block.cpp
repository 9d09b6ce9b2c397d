#include "list/list_block.h"

namespace morv {

MLIBSZLIST *list_make_block(int64_t size) noexcept {
    if (size > list_most_size) return nullptr;
    auto *const list = static_cast<MLIBSZLIST *>(malloc(static_cast<size_t>(size)));
    if (!list) return nullptr;
    list->nSize = static_cast<uint32_t>(size);
    list->nItem = 0;
    list->nFree = static_cast<int32_t>(size - list_header);
    list->fMode = SZLIST_MODE_NONE;
    list->EndofFree = list_end(list);
    list->pszNull = list->EndofFree - 1;
    *list->pszNull = '\0';
    return list;
}

namespace {

// Bytes of the texts that items still point to.
int64_t live_bytes(const MLIBSZLIST *list) noexcept {
    int64_t bytes = 0;
    for (int i = 0; i < list->nItem; ++i) {
        if (!list_is_hole(list, i)) bytes += static_cast<int64_t>(strlen(list->pszItem[i])) + 1;
    }
    return bytes;
}

}  // namespace

MLIBSZLIST *list_enlarged(const MLIBSZLIST *list, int64_t room) noexcept {
    const int64_t slots = list->nItem * list_slot;
    const int64_t stored = reinterpret_cast<const char *>(list) + list->nSize - list->EndofFree;
    int64_t size = int64_t{list->nSize} * 2;
    // What is stored bounds what is live; the exact sum is needed only where it decides about another
    // doubling.
    if (size - list_header - slots - stored < room) {
        const int64_t needed = list_header + slots + live_bytes(list);
        while (size <= list_most_size && size - needed < room)
            size *= 2;
    }
    MLIBSZLIST *const larger = list_make_block(size);
    if (!larger) return nullptr;
    larger->nItem = list->nItem;
    larger->fMode = list->fMode;
    larger->nFree -= static_cast<int32_t>(slots);
    for (int i = 0; i < list->nItem; ++i) {
        const char *const text = list->pszItem[i];
        larger->pszItem[i] = list_is_hole(list, i)
                                 ? larger->pszNull
                                 : list_store(larger, text, static_cast<int64_t>(strlen(text)) + 1);
    }
    return larger;
}

void list_clean(MLIBSZLIST *list) noexcept {
    int kept = 0;
    for (int i = 0; i < list->nItem; ++i) {
        if (!list_is_hole(list, i)) list->pszItem[kept++] = list->pszItem[i];
    }
    list_truncate(list, kept);
}

}  // namespace morv
