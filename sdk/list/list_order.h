// The two orders of a string list: searching and sorting.
#pragma once

#include <functional>
#include <string_view>

#include "core/text/case.h"
#include "list/list_block.h"

namespace morv {

enum class ListOrder { none, bytes, caseless };

inline ListOrder list_order(const MLIBSZLIST *list) noexcept {
    if (list->fMode == SZLIST_MODE_SORT) return ListOrder::bytes;
    if (list->fMode == SZLIST_MODE_CASESORT) return ListOrder::caseless;
    return ListOrder::none;
}

struct ByBytes {
    static int compare(const char *a, const char *b) noexcept { return strcmp(a, b); }
    static int compare_all(const char *a, const char *b) noexcept { return strcmp(a, b); }
    static bool failed(int) noexcept { return false; }
    static bool equal(const char *a, const char *b) noexcept { return strcmp(a, b) == 0; }
    static bool hash(const char *text, uint64_t *hash) noexcept {
        *hash = std::hash<std::string_view>{}(text);
        return true;
    }
};

struct ByCase {
    static int compare(const char *a, const char *b) noexcept { return case_compare(a, b); }
    static int compare_all(const char *a, const char *b) noexcept { return case_compare_all(a, b); }
    static bool failed(int order) noexcept { return order == case_invalid; }
    static bool equal(const char *a, const char *b) noexcept { return case_equal(a, b); }
    static bool hash(const char *text, uint64_t *hash) noexcept { return case_hash(text, hash); }
};

// Runs `work` with the order of a sorted list.
template <class F>
auto with_order(ListOrder order, F &&work) noexcept {
    return order == ListOrder::caseless ? work(ByCase{}) : work(ByBytes{});
}

// Searches the items low..high by halving: the index of an equal item, or the complement of the place where
// the text belongs. A comparison that fails ends the search where it is.
template <class Order>
int list_search(const MLIBSZLIST *list, int low, int high, const char *text) noexcept {
    while (low <= high) {
        const int middle = low + (high - low) / 2;
        const int order = Order::compare(text, list->pszItem[middle]);
        if (order == 0) return middle;
        if (Order::failed(order)) break;
        if (order > 0) {
            low = middle + 1;
        } else {
            high = middle - 1;
        }
    }
    return ~low;
}

template <class Order>
int list_search(const MLIBSZLIST *list, const char *text) noexcept {
    return list_search<Order>(list, 0, list->nItem - 1, text);
}

// The first item, holes aside, that equals the text; -1 when there is none.
template <class Order>
int list_scan(const MLIBSZLIST *list, const char *text) noexcept {
    for (int i = 0; i < list->nItem; ++i) {
        if (!list_is_hole(list, i) && Order::equal(text, list->pszItem[i])) return i;
    }
    return -1;
}

// Sorts the items; ListOrder::none leaves them. It cannot fail: memory only makes it faster.
void list_sort(MLIBSZLIST *list, ListOrder order) noexcept;

// Sorts a list that is unsorted and gives it the mode.
void list_arrange(MLIBSZLIST *list, int mode) noexcept;

}  // namespace morv
