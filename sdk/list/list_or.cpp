#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_sets.h"

namespace {

using namespace morv;

// The items of b that a union adds, chosen before the first is stored: so the block grows once at most, and
// texts that an index points to stay where they are.
class Additions {
  public:
    bool make(const MLIBSZLIST *b) noexcept {
        texts_.reset(static_cast<char **>(calloc(static_cast<size_t>(b->nItem) + 1, sizeof(char *))));
        return texts_ != nullptr;
    }

    void add(char *text) noexcept {
        texts_.get()[count_++] = text;
        room_ += static_cast<int64_t>(strlen(text)) + 1 + list_slot;
    }

    // Stores them behind the items of the list. From then on this holds the stored texts.
    bool append_to(MLIBSZLIST *&list) noexcept {
        ListPtr old;
        if (!list_reserve(list, room_, old)) return false;
        for (int i = 0; i < count_; ++i) {
            list_append(list, texts_.get()[i]);
            texts_.get()[i] = list->pszItem[list->nItem - 1];
        }
        return true;
    }

    int count() const noexcept { return count_; }
    char *operator[](int index) const noexcept { return texts_.get()[index]; }

  private:
    MallocPtr<char *> texts_;
    int count_ = 0;
    int64_t room_ = 0;
};

bool append_items(MLIBSZLIST *&list, const MLIBSZLIST *from) noexcept {
    for (int i = 0; i < from->nItem; ++i) {
        if (!list_is_hole(from, i) && !list_append(list, from->pszItem[i])) return false;
    }
    return true;
}

template <class F>
bool choose_additions(Additions &additions, const MLIBSZLIST *b, F &&missing) noexcept {
    if (!additions.make(b)) return false;
    for (int i = 0; i < b->nItem; ++i) {
        if (!list_is_hole(b, i) && missing(b->pszItem[i])) additions.add(b->pszItem[i]);
    }
    return true;
}

// Chooses what neither `a` nor the additions so far hold.
template <class Order>
bool choose_new(Additions &additions, const MLIBSZLIST *a, const MLIBSZLIST *b) noexcept {
    ListIndex<Order> seen;
    if (!index_items(seen, a, b->nItem)) return false;
    return choose_additions(additions, b, [&](const char *item) {
        auto *const entry = seen.add(item);
        return !entry || entry->number++ == 0;
    });
}

// Each returns an error code. `result` is a itself, to be changed in place, or a new empty list.

int unite_unsorted(const MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&result) noexcept {
    Additions additions;
    if (result == a) {
        if (!choose_new<ByBytes>(additions, a, b)) return ERR_OUT_OF_MEMORY;
    } else {
        ListIndex<ByBytes> in_a;
        if (!index_items(in_a, a)) return ERR_OUT_OF_MEMORY;
        const auto missing = [&](const char *item) { return in_a.find(item) == nullptr; };
        if (!choose_additions(additions, b, missing) || !append_items(result, a)) return ERR_OUT_OF_MEMORY;
    }
    return additions.append_to(result) ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

template <class Order>
int unite_sorted_with_unsorted(const MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&result) noexcept {
    Additions additions;
    if (result != a) {
        const auto missing = [&](const char *item) { return list_search<Order>(a, item) < 0; };
        const bool done =
            choose_additions(additions, b, missing) && append_items(result, a) && additions.append_to(result);
        return done ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
    }
    const int mode = static_cast<int>(a->fMode);
    if (!choose_new<Order>(additions, a, b) || !additions.append_to(result)) return ERR_OUT_OF_MEMORY;
    result->fMode = SZLIST_MODE_NONE;
    list_arrange(result, mode);
    return ERR_SUCCESS;
}

template <class Order>
int unite_unsorted_with_sorted(const MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&result) noexcept {
    const auto in_b = [&](const char *item) { return list_search<Order>(b, item) >= 0; };
    if (result != a) {
        if (!append_items(result, b)) return ERR_OUT_OF_MEMORY;
        for (int i = 0; i < a->nItem; ++i) {
            if (list_is_hole(a, i) || in_b(a->pszItem[i])) continue;
            if (!list_append(result, a->pszItem[i])) return ERR_OUT_OF_MEMORY;
        }
        return ERR_SUCCESS;
    }
    const int own = a->nItem;
    Additions additions;
    const auto all = [](const char *) { return true; };
    if (!choose_additions(additions, b, all) || !additions.append_to(result)) return ERR_OUT_OF_MEMORY;
    int kept = 0;
    for (int i = 0; i < result->nItem; ++i) {
        if (i >= own || list_is_hole(result, i) || !in_b(result->pszItem[i])) {
            result->pszItem[kept++] = result->pszItem[i];
        }
    }
    list_truncate(result, kept);
    return ERR_SUCCESS;
}

// Walks two sorted lists side by side and calls `each` with every item of the union and where it is from; it
// answers false for no memory. `sorted` tells whether they came in order: a list that was relabelled without
// being sorted may spoil it. Answers an error code.
template <class Order, class F>
int walk_union(const MLIBSZLIST *a, const MLIBSZLIST *b, bool &sorted, F each) noexcept {
    sorted = true;
    const char *last = nullptr;
    int last_order = 0;
    for (int i = 0, j = 0; i < a->nItem || j < b->nItem;) {
        int order = i < a->nItem ? -1 : 1;
        if (i < a->nItem && j < b->nItem) order = Order::compare(a->pszItem[i], b->pszItem[j]);
        if (Order::failed(order)) return ERR_BAD_PARAMETERS;
        char *const item = order <= 0 ? a->pszItem[i] : b->pszItem[j];
        // An item behind one of the other list has just been compared with it.
        const bool compared = (last_order < 0 && order > 0) || (last_order > 0 && order <= 0);
        if (last && !compared) sorted = sorted && Order::compare_all(last, item) <= 0;
        last = item;
        last_order = order;
        if (!each(item, order > 0)) return ERR_OUT_OF_MEMORY;
        i += order <= 0;
        j += order >= 0;
    }
    return ERR_SUCCESS;
}

// Takes the items of b that a lacks into a. The walk only looks, and notes for each place of the result
// whether an item of b goes there.
template <class Order>
int take_in_sorted(MLIBSZLIST *&a, const MLIBSZLIST *b, bool &sorted) noexcept {
    const int own = a->nItem;
    const MallocPtr<bool> from_b(static_cast<bool *>(
        calloc(static_cast<size_t>(own) + static_cast<size_t>(b->nItem) + 1, sizeof(bool))));
    Additions additions;
    if (!from_b || !additions.make(b)) return ERR_OUT_OF_MEMORY;
    int count = 0;
    const int error = walk_union<Order>(a, b, sorted, [&](char *item, bool is_b) {
        from_b.get()[count++] = is_b;
        if (is_b) additions.add(item);
        return true;
    });
    if (error) return error;
    if (!additions.append_to(a)) return ERR_OUT_OF_MEMORY;
    int next_own = own;
    int next_added = additions.count();
    for (int at = count - 1; at >= 0; --at)
        a->pszItem[at] = from_b.get()[at] ? additions[--next_added] : a->pszItem[--next_own];
    list_clean(a);
    return ERR_SUCCESS;
}

template <class Order>
int unite_sorted(const MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&result) noexcept {
    const uint32_t mode = a->fMode;
    const ListOrder order_a = list_order(a);
    bool sorted;
    const auto append = [&](const char *item, bool) { return list_append(result, item); };
    const int error =
        result == a ? take_in_sorted<Order>(result, b, sorted) : walk_union<Order>(a, b, sorted, append);
    if (error) return error;
    if (!sorted) list_sort(result, order_a);
    result->fMode = mode;
    return ERR_SUCCESS;
}

int unite(const MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&result) noexcept {
    const ListOrder order_a = list_order(a);
    const ListOrder order_b = list_order(b);
    if (order_a == ListOrder::none && order_b == ListOrder::none) return unite_unsorted(a, b, result);
    return with_order(order_a == ListOrder::none ? order_b : order_a, [&](auto by) {
        using Order = decltype(by);
        if (order_b == ListOrder::none) return unite_sorted_with_unsorted<Order>(a, b, result);
        if (order_a == ListOrder::none) return unite_unsorted_with_sorted<Order>(a, b, result);
        return unite_sorted<Order>(a, b, result);
    });
}

}  // namespace

extern "C" MLIBSZLIST *PslMLIBSzListOr(MLIBSZLIST **ppListA, const MLIBSZLIST *pListB, int flag) noexcept {
    if (!ppListA || !*ppListA || !pListB || !sets_compatible(*ppListA, pListB, flag)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    const MLIBSZLIST *const a = *ppListA;
    if (flag == SZLIST_OP_INPLACE) {
        const int error = unite(a, pListB, *ppListA);
        return error ? MORV_FAIL(error, nullptr) : *ppListA;
    }
    MLIBSZLIST *fresh = list_make(list_used(a) + list_used(pListB));
    if (!fresh) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    const int error = unite(a, pListB, fresh);
    if (error) {
        free(fresh);
        return MORV_FAIL(error, nullptr);
    }
    return fresh;
}
