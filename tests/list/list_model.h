// What the tests of the list share: lists written as vectors, where an absent text stands for a hole.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/list.h>
#include <morvsdk/unicode.h>
#include <string.h>

#include <algorithm>
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

// Less than, equal to or greater than 0; -2 alone: one of them is not UTF-8.
inline int compare(int mode, const std::string &a, const std::string &b) {
    if (mode == SZLIST_MODE_CASESORT) return MLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str());
    const int order = strcmp(a.c_str(), b.c_str());
    return (order > 0) - (order < 0);
}

// The search of a sorted list among the items low..high: an equal one, or the complement of its place.
inline int halve(const Items &items, int mode, const std::string &text, int low, int high) {
    while (low <= high) {
        const int middle = (low + high) / 2;
        const int order = compare(mode, text, items[size_t(middle)].value_or(""));
        if (order == 0) return middle;
        if (order == -2) break;  // not UTF-8
        (order > 0 ? low : high) = middle + (order > 0 ? 1 : -1);
    }
    return ~low;
}

// The first equal item, holes aside, or the one that halving finds if the list is sorted; -1: none.
inline int find(const Items &items, int mode, bool sorted, const std::string &text) {
    if (sorted) return std::max(halve(items, mode, text, 0, int(items.size()) - 1), -1);
    for (size_t i = 0; i < items.size(); ++i) {
        if (items[i] && compare(mode, text, *items[i]) == 0) return int(i);
    }
    return -1;
}

inline const int modes[] = {SZLIST_MODE_NONE, SZLIST_MODE_SORT, SZLIST_MODE_CASESORT};

// The image is copied into a block of exactly its size, so that the sanitizer sees a read beyond it.
using Image = std::vector<char>;

inline Image pack(const MLIBSZLIST *list) {
    char *const image = MORVListDBPack(list, int(list->nSize));
    if (!image) return {};
    Image copy(image, image + list->nSize);
    free(image);
    return copy;
}

inline List unpack(const Image &image) {
    const std::unique_ptr<char[]> exact(new char[image.size()]);
    std::copy(image.begin(), image.end(), exact.get());
    return List(MORVListDBUnpack(exact.get(), int(image.size())));
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
