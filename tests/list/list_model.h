// What the tests of the list share: lists written as vectors, where an absent text stands for a hole.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/list.h>
#include <morvsdk/unicode.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace list_testing {

using Item = std::optional<std::string>;
using Items = std::vector<Item>;

struct ListFree {
    void operator()(MLIBSZLIST *list) const { MLIBSzListFree(list); }
};
using List = std::unique_ptr<MLIBSZLIST, ListFree>;

// Sorted modes sort what is given; `label` only says that it is sorted.
inline List make(const Items &items, int mode = SZLIST_MODE_NONE, bool label = false) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    for (const Item &item : items) {
        if (item) {
            MLIBSzListPush(&list, item->c_str());
        } else {
            MLIBSzListInsert(&list, list->nItem + 1, "behind a hole");
            SzMLIBSzListPop(list);
        }
    }
    if (label) {
        list->fMode = static_cast<uint32_t>(mode);
    } else {
        MLIBSzListSortItems(list, mode);
    }
    return List(list);
}

inline Items items(const MLIBSZLIST *list) {
    Items all;
    for (int i = 0; i < list->nItem; ++i) {
        const bool hole = list->pszItem[i] == list->pszNull;
        all.push_back(hole ? Item() : Item(SzMLIBSzListGet(list, i)));
    }
    return all;
}

// The fields and the block of every list must agree, whatever was done to it.
inline void expect_sound(const MLIBSZLIST *list) {
    const char *const block = reinterpret_cast<const char *>(list);
    const char *const end = block + list->nSize;
    const char *const slots_end = reinterpret_cast<const char *>(list->pszItem + list->nItem);
    ASSERT_EQ(list->pszNull, end - 1);
    ASSERT_EQ(end[-1], '\0');
    ASSERT_EQ(list->nFree, list->EndofFree - slots_end);
    ASSERT_GE(list->nFree, 0);
    for (int i = 0; i < list->nItem; ++i) {
        const char *const item = list->pszItem[i];
        ASSERT_TRUE(item == list->pszNull || (item >= list->EndofFree && item < end)) << i;
    }
}

}  // namespace list_testing
