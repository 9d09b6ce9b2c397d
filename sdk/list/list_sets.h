// What the set operations of the string list share.
#pragma once

#include "list/list_index.h"
#include "list/list_order.h"

namespace morv {

// Whether the arguments of a set operation are in order: a flag that exists, and not two sorted lists of
// different modes.
inline bool sets_compatible(const MLIBSZLIST *a, const MLIBSZLIST *b, int flag) noexcept {
    if (flag != SZLIST_OP_INPLACE && flag != SZLIST_OP_NEW) return false;
    return a->fMode == SZLIST_MODE_NONE || b->fMode == SZLIST_MODE_NONE || a->fMode == b->fMode;
}

// Walks two lists sorted in the same order side by side: asked for the items of the one in turn, it answers
// the equal item of the other, or null. Each item of the other is given out once.
template <class Order>
class MergeWalk {
  public:
    explicit MergeWalk(const MLIBSZLIST *other) noexcept : other_(other) {}

    const char *match(const char *item) noexcept {
        while (next_ < other_->nItem && !failed_) {
            const int order = Order::compare(item, other_->pszItem[next_]);
            failed_ = Order::failed(order);
            if (failed_ || order < 0) break;
            const char *const passed = other_->pszItem[next_++];
            if (order == 0) return passed;
        }
        return nullptr;
    }

    // A comparison failed; all answers since are null.
    bool failed() const noexcept { return failed_; }

  private:
    const MLIBSZLIST *other_;
    int next_ = 0;
    bool failed_ = false;
};

// Keeps the items of `a` for which `choose` answers a text, in place, or as that text in the new list
// `fresh`. Holes go. False when there is no memory.
template <class F>
bool list_filter(MLIBSZLIST *a, MLIBSZLIST *&fresh, F &&choose) noexcept {
    int kept = 0;
    for (int i = 0; i < a->nItem; ++i) {
        if (list_is_hole(a, i)) continue;
        char *const item = a->pszItem[i];
        const char *const chosen = choose(item);
        if (!chosen) continue;
        if (!fresh) {
            a->pszItem[kept++] = item;
        } else if (!list_append(fresh, chosen)) {
            return false;
        }
    }
    if (!fresh) list_truncate(a, kept);
    return true;
}

// Enters the items, holes aside, into the index, and counts equal ones in its numbers.
template <class Order>
bool index_items(ListIndex<Order> &index, const MLIBSZLIST *list, int64_t more = 0) noexcept {
    if (!index.make(list->nItem + more)) return false;
    for (int i = 0; i < list->nItem; ++i) {
        if (list_is_hole(list, i)) continue;
        if (auto *const entry = index.add(list->pszItem[i])) ++entry->number;
    }
    return true;
}

}  // namespace morv
