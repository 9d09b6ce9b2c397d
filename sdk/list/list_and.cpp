#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_sets.h"

namespace {

using namespace morv;

// Each returns an error code. `fresh` is the new list, or null where the result goes into `a`.

int intersect_unsorted(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    ListIndex<ByBytes> in_b;
    if (!index_items(in_b, b)) return ERR_OUT_OF_MEMORY;
    bool copied = true;
    const bool done = list_filter(a, fresh, [&](const char *item) -> const char * {
        const auto *const entry = in_b.find(item);
        if (!entry) return nullptr;
        // A new list gets the item once for every equal one of b: here all but the last.
        for (int more = entry->number; fresh && more > 1 && copied; --more)
            copied = list_append(fresh, item);
        return item;
    });
    return done && copied ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

template <class Order>
int intersect_with_sorted(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    const bool done = list_filter(
        a, fresh, [&](const char *item) { return list_search<Order>(b, item) >= 0 ? item : nullptr; });
    return done ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

template <class Order>
int intersect_sorted(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    if (!fresh) list_clean(a);  // before the walk, for b may be a
    MergeWalk<Order> walk(b);
    const bool done = list_filter(a, fresh, [&](const char *item) {
        const char *const match = walk.match(item);
        return walk.failed() ? item : match;
    });
    if (walk.failed()) return ERR_BAD_PARAMETERS;
    if (fresh) fresh->fMode = a->fMode;
    return done ? ERR_SUCCESS : ERR_OUT_OF_MEMORY;
}

int intersect(MLIBSZLIST *a, const MLIBSZLIST *b, MLIBSZLIST *&fresh) noexcept {
    const ListOrder order_b = list_order(b);
    if (order_b == ListOrder::none) return intersect_unsorted(a, b, fresh);
    const bool both = list_order(a) != ListOrder::none;
    return with_order(order_b, [&](auto by) {
        using Order = decltype(by);
        return both ? intersect_sorted<Order>(a, b, fresh) : intersect_with_sorted<Order>(a, b, fresh);
    });
}

}  // namespace

extern "C" MLIBSZLIST *PslMLIBSzListAnd(MLIBSZLIST *pListA, const MLIBSZLIST *pListB, int flag) noexcept {
    if (!pListA || !pListB || !sets_compatible(pListA, pListB, flag)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    MLIBSZLIST *fresh = nullptr;
    if (flag == SZLIST_OP_NEW && !(fresh = list_make(list_used(pListA)))) {
        return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    }
    const int error = intersect(pListA, pListB, fresh);
    if (error) {
        free(fresh);
        return MORV_FAIL(error, nullptr);
    }
    return fresh ? fresh : pListA;
}
