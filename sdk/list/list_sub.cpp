#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_sets.h"

namespace {

using namespace morv;

// Each returns an error code. `fresh` is the new list, or null where the result goes into `a`.

int subtract_unsorted(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    ListIndex<ByBytes> in_b;
    if (!index_items(in_b, b)) return ERR_OUT_OF_MEMORY;
    const bool done =
        list_filter(a, fresh, [&](const char *item) { return in_b.find(item) ? nullptr : item; });
    return done ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

template <class Order>
int subtract_with_sorted(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    const bool done = list_filter(
        a, fresh, [&](const char *item) { return list_search<Order>(b, item) >= 0 ? nullptr : item; });
    return done ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

template <class Order>
int subtract_sorted(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    if (!fresh) list_clean(a);  // before the walk, for b may be a
    MergeWalk<Order> walk(b);
    const bool done =
        list_filter(a, fresh, [&](const char *item) { return walk.match(item) ? nullptr : item; });
    if (walk.failed()) return ERR_BAD_PARAMETERS;
    if (fresh) fresh->fMode = a->fMode;
    return done ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

// In place, each item of b takes away the equal item that halving finds in what is left of a.
template <class Order>
int take_away(MLIBSZLIST *a, const MLIBSZLIST *b) noexcept {
    list_clean(a);
    for (int i = 0; i < b->nItem; ++i) {
        if (list_is_hole(b, i)) continue;
        const int found = list_search<Order>(a, b->pszItem[i]);
        if (found >= 0) list_take(a, found);
    }
    return ERR_SUCCESS;
}

// For a new list, each item of b takes away the first equal item of a that is left. The index holds the first
// one of each text (counted from 1, 0: none), `next` the one behind each.
template <class Order>
int copy_without(const MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    constexpr int32_t taken = -1;
    ListIndex<Order> first;
    const MallocPtr<int32_t> next_block(
        static_cast<int32_t *>(calloc(static_cast<size_t>(a->nItem) + 1, sizeof(int32_t))));
    int32_t *const next = next_block.get();
    if (!next || !first.make(a->nItem)) return ERR_OUT_OF_MEMORY;
    for (int i = a->nItem; i > 0; --i) {
        if (list_is_hole(a, i - 1)) continue;
        if (auto *const entry = first.add(a->pszItem[i - 1])) {
            next[i] = entry->number;
            entry->number = i;
        }
    }
    for (int i = 0; i < b->nItem; ++i) {
        if (list_is_hole(b, i)) continue;
        auto *const entry = first.find(b->pszItem[i]);
        if (!entry || entry->number == 0) continue;
        const int32_t item = entry->number;
        entry->number = next[item];
        next[item] = taken;
    }
    for (int i = 0; i < a->nItem; ++i) {
        if (list_is_hole(a, i) || next[i + 1] == taken) continue;
        if (!list_append(fresh, a->pszItem[i])) return ERR_OUT_OF_MEMORY;
    }
    return ERR_SUCCESS;
}

int subtract(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    const ListOrder order_a = list_order(a);
    const ListOrder order_b = list_order(b);
    if (order_a == ListOrder::none && order_b == ListOrder::none) return subtract_unsorted(a, b, fresh);
    if (order_b == ListOrder::none) {
        return with_order(order_a, [&](auto by) {
            using Order = decltype(by);
            return fresh ? copy_without<Order>(a, b, fresh) : take_away<Order>(a, b);
        });
    }
    return with_order(order_b, [&](auto by) {
        using Order = decltype(by);
        return order_a == ListOrder::none ? subtract_with_sorted<Order>(a, b, fresh)
                                          : subtract_sorted<Order>(a, b, fresh);
    });
}

}  // namespace

extern "C" MLIBSZLIST *PslMLIBSzListSub(MLIBSZLIST *pListA, const MLIBSZLIST *pListB, int flag) noexcept {
    if (!pListA || !pListB || !sets_compatible(pListA, pListB, flag)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    MLIBSZLIST *fresh = nullptr;
    if (flag == SZLIST_OP_NEW && !(fresh = list_make(list_used(pListA)))) {
        return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    }
    const int error = subtract(pListA, pListB, fresh);
    if (error) {
        free(fresh);
        return MORV_FAIL(error, nullptr);
    }
    return fresh ? fresh : pListA;
}
