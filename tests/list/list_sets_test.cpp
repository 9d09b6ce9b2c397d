// The set operations against a model that scans as their rules are worded, one item after the other.

#include <algorithm>
#include <random>

#include "list_model.h"
#include "support/alloc_fault.h"

using namespace list_testing;
using testing_support::AllocFault;
using testing_support::for_each_alloc_fault;

namespace {

enum class Op { intersect, unite, subtract };

struct Model {
    Items items;
    int mode;

    int find(const std::string &text) const { return list_testing::find(items, mode, mode != 0, text); }
    int scan(const std::string &text) const { return list_testing::find(items, mode, false, text); }
};

void sort(Items &items, int mode) {
    std::sort(items.begin(), items.end(), [mode](const Item &a, const Item &b) {
        const int order = compare(mode, *a, *b);
        return order ? order < 0 : *a < *b;
    });
}

Model intersect(const Model &a, const Model &b, bool fresh) {
    Model result{{}, fresh && !b.mode ? 0 : a.mode};
    size_t j = 0;
    for (const Item &item : a.items) {
        if (!b.mode) {
            const auto copies = std::count(b.items.begin(), b.items.end(), item);
            result.items.insert(result.items.end(), size_t(fresh ? copies : std::min<long>(copies, 1)), item);
        } else if (!a.mode) {
            if (b.find(*item) >= 0) result.items.push_back(item);
        } else {
            while (j < b.items.size() && compare(a.mode, *item, *b.items[j]) > 0)
                ++j;
            if (j == b.items.size() || compare(a.mode, *item, *b.items[j]) != 0) continue;
            result.items.push_back(fresh ? b.items[j] : item);
            ++j;
        }
    }
    return result;
}

Model unite(const Model &a, const Model &b, bool fresh) {
    Model result = a;
    if (!b.mode) {
        for (const Item &item : b.items) {
            if ((fresh ? a.find(*item) : result.scan(*item)) < 0) result.items.push_back(item);
        }
        if (fresh) result.mode = 0;
    } else if (!a.mode) {
        std::erase_if(result.items, [&](const Item &item) { return b.find(*item) >= 0; });
        result.items.insert(fresh ? result.items.begin() : result.items.end(), b.items.begin(),
                            b.items.end());
    } else {
        size_t i = 0;
        for (const Item &item : b.items) {
            while (i < a.items.size() && compare(a.mode, *a.items[i], *item) < 0)
                ++i;
            if (i == a.items.size() || compare(a.mode, *a.items[i], *item) != 0) {
                result.items.push_back(item);
            } else {
                ++i;
            }
        }
    }
    if (result.mode) sort(result.items, result.mode);
    return result;
}

Model subtract(Model a, const Model &b, bool fresh) {
    if (!a.mode) {
        std::erase_if(a.items, [&](const Item &item) { return b.find(*item) >= 0; });
        return a;
    }
    size_t i = 0;
    for (const Item &item : b.items) {
        if (!b.mode) {
            const int at = fresh ? a.scan(*item) : a.find(*item);
            if (at >= 0) a.items.erase(a.items.begin() + at);
            continue;
        }
        while (i < a.items.size() && compare(a.mode, *a.items[i], *item) < 0)
            ++i;
        if (i < a.items.size() && compare(a.mode, *a.items[i], *item) == 0) {
            a.items.erase(a.items.begin() + long(i));
        }
    }
    if (!b.mode && fresh) a.mode = 0;
    return a;
}

Model model(Op op, const Model &a, const Model &b, bool fresh) {
    if (op == Op::intersect) return intersect(a, b, fresh);
    if (op == Op::unite) return unite(a, b, fresh);
    return subtract(a, b, fresh);
}

// In place it may replace `a`.
MLIBSZLIST *apply(Op op, List &a, const MLIBSZLIST *b, int flag) {
    if (op == Op::intersect) return PslMLIBSzListAnd(a.get(), b, flag);
    if (op == Op::subtract) return PslMLIBSzListSub(a.get(), b, flag);
    MLIBSZLIST *handle = a.release();
    MLIBSZLIST *const result = PslMLIBSzListOr(&handle, b, flag);
    a.reset(handle);
    return result;
}

Items live(const MLIBSZLIST *list) {
    Items all = items(list);
    std::erase(all, std::nullopt);
    return all;
}

// A few texts that are alike, and now and then many.
Items random_items(std::mt19937 &random) {
    static const char *const words[] = {"a", "A", "b", "B", "bb", "straße", "STRASSE", "é", "É", "zeta"};
    Items some;
    const bool many = random() % 100 == 0;
    for (size_t n = random() % (many ? 400 : 12); n > 0; --n) {
        const size_t pick = random() % (std::size(words) + 1);
        if (many) {
            some.push_back("user" + std::to_string(random() % 800));
        } else {
            some.push_back(pick < std::size(words) ? Item(words[pick]) : Item());
        }
    }
    return some;
}

// The items of a union; where equal ones may stand in any order, in the order of their bytes.
Items in_order(const MLIBSZLIST *list) {
    Items all = live(list);
    const int mode = MLIBSzListSorted(list);
    for (size_t i = 1; mode && i < all.size(); ++i)
        EXPECT_LE(compare(mode, *all[i - 1], *all[i]), 0);
    if (mode) sort(all, mode);
    return all;
}

const Op operations[] = {Op::intersect, Op::unite, Op::subtract};

TEST(ListSets, GiveWhatScanningWouldGive) {
    std::mt19937 random(11);
    for (int round = 0; round < 12000; ++round) {
        const Op op = operations[round % 3];
        const bool self = random() % 20 == 0;
        const int mode_a = modes[random() % 3], mode_b = self ? mode_a : modes[random() % 3];
        const int flag = random() % 2 ? SZLIST_OP_NEW : SZLIST_OP_INPLACE;
        List a = make(random_items(random), mode_a);
        const List other = make(random_items(random), mode_b);
        const MLIBSZLIST *const b = self ? a.get() : other.get();
        const Items a_before = items(a.get()), b_before = items(b);
        const Model expected = model(op, {live(a.get()), mode_a}, {live(b), mode_b}, flag == SZLIST_OP_NEW);
        SCOPED_TRACE(testing::Message()
                     << "operation " << static_cast<int>(op) << ", modes " << mode_a << " and " << mode_b
                     << ", flag " << flag << ", round " << round << (self ? ", the same list" : ""));

        MLIBSZLIST *const result = apply(op, a, b, flag);
        const bool clash = mode_a && mode_b && mode_a != mode_b;
        if (!self) {
            ASSERT_EQ(items(b), b_before);
        }
        if (clash || flag == SZLIST_OP_NEW) {
            ASSERT_EQ(items(a.get()), a_before);
        }
        if (clash) {
            ASSERT_EQ(result, nullptr);
            ASSERT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
            continue;
        }
        ASSERT_NE(result, nullptr);
        expect_sound(result);
        ASSERT_EQ(op == Op::unite ? in_order(result) : items(result), expected.items);
        ASSERT_EQ(MLIBSzListSorted(result), expected.mode);
        ASSERT_EQ(result == a.get(), flag == SZLIST_OP_INPLACE);
        if (flag == SZLIST_OP_NEW) MLIBSzListFree(result);
    }
}

// A list that was relabelled says that it is sorted, and is not.
TEST(ListSets, SortTheUnionOfListsThatOnlySayTheyAreSorted) {
    for (const int flag : {SZLIST_OP_INPLACE, SZLIST_OP_NEW}) {
        List a = make({"c", "a"}, SZLIST_MODE_SORT, true);
        const List b = make({"d", "b"}, SZLIST_MODE_SORT, true);
        MLIBSZLIST *const result = apply(Op::unite, a, b.get(), flag);
        EXPECT_EQ(items(result), (Items{"a", "b", "c", "d"}));
        if (flag == SZLIST_OP_NEW) MLIBSzListFree(result);
    }
}

TEST(ListSets, FailForBytesThatAreNotUtf8WhereTwoCaseSortedListsMeet) {
    for (const Op op : operations) {
        for (const int flag : {SZLIST_OP_INPLACE, SZLIST_OP_NEW}) {
            List a = make({"a", "b", "\xFF"}, SZLIST_MODE_CASESORT);
            const List b = make({"a", "b", "c"}, SZLIST_MODE_CASESORT);
            EXPECT_EQ(apply(op, a, b.get(), flag), nullptr);
            EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
            expect_sound(a.get());
        }
    }
    // Everywhere else such a text only equals nothing.
    List a = make({"\xFF", "b"});
    const List b = make({"B", "\xFF"}, SZLIST_MODE_CASESORT);
    EXPECT_EQ(apply(Op::intersect, a, b.get(), SZLIST_OP_INPLACE), a.get());
    EXPECT_EQ(items(a.get()), Items{"b"});
}

TEST(ListSets, FailCleanlyWhenThereIsNoMemory) {
    Items first, second;
    for (int i = 0; i < 100; ++i) {
        first.push_back("name" + std::to_string(i));
        second.push_back("name" + std::to_string(2 * i));
    }
    second.insert(second.end(), 300, "name5");  // copies, which make the list grow a few times
    const auto fail = [&](Op op, int mode_a, int mode_b, int flag) {
        for_each_alloc_fault([&](int nth) {
            AllocFault::disarm();
            List a = make(first, mode_a);
            const List b = make(second, mode_b);
            const Items before = items(a.get());
            const Model expected =
                model(op, {before, mode_a}, {items(b.get()), mode_b}, flag == SZLIST_OP_NEW);
            AllocFault fault(nth);
            MLIBSZLIST *const result = apply(op, a, b.get(), flag);
            const bool reached = AllocFault::disarm();
            expect_sound(a.get());
            if (result) {
                EXPECT_EQ(op == Op::unite ? in_order(result) : items(result), expected.items);
            } else {
                EXPECT_TRUE(reached);
                EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
                EXPECT_EQ(items(a.get()), before);
            }
            if (flag == SZLIST_OP_NEW) MLIBSzListFree(result);
            return reached;
        });
    };
    for (const Op op : operations) {
        for (const int mode_a : modes) {
            for (const int mode_b : modes) {
                if (mode_a && mode_b && mode_a != mode_b) continue;
                fail(op, mode_a, mode_b, SZLIST_OP_INPLACE);
                fail(op, mode_a, mode_b, SZLIST_OP_NEW);
            }
        }
    }
}

}  // namespace
