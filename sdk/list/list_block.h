// The block of a string list: making, growing, storing, dropping. Nothing here looks at the order of the
// items.
#pragma once

#include <morvsdk/internal/list.h>
#include <stdlib.h>
#include <string.h>

#include "core/base/guard.h"

namespace morv {

inline constexpr int64_t list_header = sizeof(MLIBSZLIST);
inline constexpr int64_t list_slot = sizeof(char *);
inline constexpr int64_t list_least_size = 512;
inline constexpr int64_t list_most_size = INT32_MAX;

using ListPtr = MallocPtr<MLIBSZLIST>;

// An empty unsorted list in a block of exactly `size` bytes, more than the header; null when there is no
// memory for it.
MLIBSZLIST *list_make_block(int64_t size) noexcept;

// The same of a size that a caller asks for: at least 512 bytes.
inline MLIBSZLIST *list_make(int64_t size) noexcept {
    return list_make_block(size < list_least_size ? list_least_size : size);
}

// A copy of the list without the bytes lost to removals, in a block of twice the size, doubled on until
// `room` bytes are free; null when there is no memory for it.
MLIBSZLIST *list_enlarged(const MLIBSZLIST *list, int64_t room) noexcept;

// Drops the holes.
void list_clean(MLIBSZLIST *list) noexcept;

inline bool list_is_hole(const MLIBSZLIST *list, int index) noexcept {
    return list->pszItem[index] == list->pszNull;
}

inline int64_t list_used(const MLIBSZLIST *list) noexcept {
    return int64_t{list->nSize} - list->nFree;
}

inline char *list_end(MLIBSZLIST *list) noexcept {
    return reinterpret_cast<char *>(list) + list->nSize;
}

// Makes `room` bytes free. The block that was replaced goes to `old`: a text to be stored may lie in it, so
// it must live until then. False when there is no memory; the list is as it was.
inline bool list_reserve(MLIBSZLIST *&list, int64_t room, ListPtr &old) noexcept {
    if (list->nFree >= room) return true;
    MLIBSZLIST *const larger = list_enlarged(list, room);
    if (!larger) return false;
    old.reset(list);
    list = larger;
    return true;
}

// Copies `size` bytes, the zero included, into the gap, which has room for them.
inline char *list_store(MLIBSZLIST *list, const char *text, int64_t size) noexcept {
    list->EndofFree -= size;
    list->nFree -= static_cast<int32_t>(size);
    return static_cast<char *>(memmove(list->EndofFree, text, static_cast<size_t>(size)));
}

// Inserts a copy of the text before the item at `index`, behind holes where that is beyond the end.
inline bool list_insert_at(MLIBSZLIST *&list, int index, const char *text) noexcept {
    const int64_t size = static_cast<int64_t>(strlen(text)) + 1;
    const int64_t new_slots = index < list->nItem ? 1 : int64_t{index} - list->nItem + 1;
    ListPtr old;
    if (!list_reserve(list, size + new_slots * list_slot, old)) return false;

    char *const stored = list_store(list, text, size);
    char **const slots = list->pszItem;
    if (index < list->nItem) {
        memmove(slots + index + 1, slots + index, static_cast<size_t>((list->nItem - index) * list_slot));
        ++list->nItem;
    } else {
        while (list->nItem < index)
            slots[list->nItem++] = list->pszNull;
        list->nItem = index + 1;
    }
    slots[index] = stored;
    list->nFree -= static_cast<int32_t>(new_slots * list_slot);
    return true;
}

// Stores a copy of a text of another list behind the items.
inline bool list_append(MLIBSZLIST *&list, const char *text) noexcept {
    const int64_t size = static_cast<int64_t>(strlen(text)) + 1;
    if (list->nFree < size + list_slot) return list_insert_at(list, list->nItem, text);
    list->EndofFree -= size;
    memcpy(list->EndofFree, text, static_cast<size_t>(size));
    list->pszItem[list->nItem++] = list->EndofFree;
    list->nFree -= static_cast<int32_t>(size + list_slot);
    return true;
}

// Keeps the first `count` slots.
inline void list_truncate(MLIBSZLIST *list, int count) noexcept {
    list->nFree += static_cast<int32_t>((list->nItem - count) * list_slot);
    list->nItem = count;
}

// Takes the item at `index`, which exists, out of the list.
inline char *list_take(MLIBSZLIST *list, int index) noexcept {
    char **const slot = list->pszItem + index;
    char *const text = *slot;
    memmove(slot, slot + 1, static_cast<size_t>((list->nItem - index - 1) * list_slot));
    list_truncate(list, list->nItem - 1);
    return text;
}

}  // namespace morv
