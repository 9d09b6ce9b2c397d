// The set operations against a model that scans as their rules are worded, one item after the other.

#include <algorithm>
#include <random>

#include "list_model.h"
#include "support/alloc_fault.h"

using namespace list_testing;
using testing_support::AllocFault;

namespace {

enum class Op { intersect, unite, subtract };

using Texts = std::vector<std::string>;

struct Model {
    Texts items;
    int mode;
};

int compare(int mode, const std::string &a, const std::string &b) {
    return mode == SZLIST_MODE_CASESORT ? MLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str())
                                        : strcmp(a.c_str(), b.c_str());
}

void sort(Texts &texts, int mode) {
    std::sort(texts.begin(), texts.end(), [mode](const std::string &a, const std::string &b) {
        const int order = compare(mode, a, b);
        return order ? order < 0 : a < b;
    });
}

// The find of `mode` in a list that is, or is not, sorted in that mode.
int find(const Texts &items, int mode, bool sorted, const std::string &text) {
    if (!sorted) {
        for (size_t i = 0; i < items.size(); ++i) {
            if (compare(mode, text, items[i]) == 0) return static_cast<int>(i);
        }
        return -1;
    }
    int low = 0;
    int high = static_cast<int>(items.size()) - 1;
    while (low <= high) {
        const int middle = (low + high) / 2;
        const int order = compare(mode, text, items[middle]);
        if (order == 0) return middle;
        if (order > 0) {
            low = middle + 1;
        } else {
            high = middle - 1;
        }
    }
    return -1;
}

Model intersect(const Model &a, const Model &b, bool fresh) {
    Texts result;
    if (b.mode == SZLIST_MODE_NONE) {
        for (const std::string &item : a.items) {
            const auto copies = std::count(b.items.begin(), b.items.end(), item);
            for (auto n = fresh ? copies : std::min<long>(copies, 1); n > 0; --n)
                result.push_back(item);
        }
        return {result, fresh ? 0 : a.mode};
    }
    if (a.mode == SZLIST_MODE_NONE) {
        for (const std::string &item : a.items) {
            if (find(b.items, b.mode, true, item) >= 0) result.push_back(item);
        }
        return {result, 0};
    }
    size_t i = 0;
    size_t j = 0;
    while (i < a.items.size() && j < b.items.size()) {
        const int order = compare(a.mode, a.items[i], b.items[j]);
        if (order == 0) result.push_back(fresh ? b.items[j] : a.items[i]);
        i += order <= 0;
        j += order >= 0;
    }
    return {result, a.mode};
}

Model unite(const Model &a, const Model &b, bool fresh) {
    Texts result = a.items;
    const auto add = [&](const std::string &item) { result.push_back(item); };
    if (b.mode == SZLIST_MODE_NONE) {
        for (const std::string &item : b.items) {
            const bool known = fresh ? find(a.items, a.mode, a.mode != 0, item) >= 0
                                     : find(result, a.mode, false, item) >= 0;
            if (!known) add(item);
        }
        if (!fresh && a.mode) sort(result, a.mode);
        return {result, fresh ? 0 : a.mode};
    }
    if (a.mode == SZLIST_MODE_NONE) {
        Texts own;
        for (const std::string &item : a.items) {
            if (find(b.items, b.mode, true, item) < 0) own.push_back(item);
        }
        Texts all = fresh ? b.items : own;
        const Texts &tail = fresh ? own : b.items;
        all.insert(all.end(), tail.begin(), tail.end());
        return {all, 0};
    }
    result.clear();
    size_t i = 0;
    size_t j = 0;
    while (i < a.items.size() || j < b.items.size()) {
        int order = i < a.items.size() ? -1 : 1;
        if (i < a.items.size() && j < b.items.size()) order = compare(a.mode, a.items[i], b.items[j]);
        add(order <= 0 ? a.items[i] : b.items[j]);
        i += order <= 0;
        j += order >= 0;
    }
    sort(result, a.mode);
    return {result, a.mode};
}

Model subtract(const Model &a, const Model &b, bool fresh) {
    Texts result;
    if (b.mode == SZLIST_MODE_NONE && a.mode != SZLIST_MODE_NONE) {
        result = a.items;
        for (const std::string &item : b.items) {
            const int at = find(result, a.mode, !fresh, item);
            if (at >= 0) result.erase(result.begin() + at);
        }
        return {result, fresh ? 0 : a.mode};
    }
    if (a.mode == SZLIST_MODE_NONE) {
        for (const std::string &item : a.items) {
            if (find(b.items, b.mode, b.mode != SZLIST_MODE_NONE, item) < 0) result.push_back(item);
        }
        return {result, 0};
    }
    size_t j = 0;
    for (const std::string &item : a.items) {
        while (j < b.items.size() && compare(a.mode, item, b.items[j]) > 0)
            ++j;
        if (j < b.items.size() && compare(a.mode, item, b.items[j]) == 0) {
            ++j;
        } else {
            result.push_back(item);
        }
    }
    return {result, a.mode};
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

Texts live(const MLIBSZLIST *list) {
    Texts texts;
    for (const Item &item : items(list)) {
        if (item) texts.push_back(*item);
    }
    return texts;
}

Items random_items(std::mt19937 &random) {
    static const char *const words[] = {"a", "A", "b", "B", "bb", "straße", "STRASSE", "é", "É", "zeta"};
    Items some;
    for (size_t n = random() % 12; n > 0; --n) {
        const size_t pick = random() % (std::size(words) + 1);
        some.push_back(pick < std::size(words) ? Item(words[pick]) : Item());
    }
    return some;
}

// The items; where equal ones may stand in any order, in the order of their bytes.
Texts in_order(const MLIBSZLIST *list) {
    Texts texts = live(list);
    const int mode = MLIBSzListSorted(list);
    for (size_t i = 1; mode && i < texts.size(); ++i)
        EXPECT_LE(compare(mode, texts[i - 1], texts[i]), 0);
    if (mode) sort(texts, mode);
    return texts;
}

const Op operations[] = {Op::intersect, Op::unite, Op::subtract};
const int modes[] = {SZLIST_MODE_NONE, SZLIST_MODE_SORT, SZLIST_MODE_CASESORT};

TEST(ListSets, GiveWhatScanningWouldGive) {
    std::mt19937 random(11);
    for (int round = 0; round < 12000; ++round) {
        const Op op = operations[round % 3];
        const int mode_a = modes[random() % 3];
        const int mode_b = modes[random() % 3];
        const int flag = random() % 2 ? SZLIST_OP_NEW : SZLIST_OP_INPLACE;
        List a = make(random_items(random), mode_a);
        const List b = make(random_items(random), mode_b);
        const Items a_before = items(a.get());
        const Items b_before = items(b.get());
        const Model expected =
            model(op, {live(a.get()), mode_a}, {live(b.get()), mode_b}, flag == SZLIST_OP_NEW);
        SCOPED_TRACE(testing::Message() << "operation " << static_cast<int>(op) << ", modes " << mode_a
                                        << " and " << mode_b << ", flag " << flag << ", round " << round);

        MLIBSZLIST *const result = apply(op, a, b.get(), flag);
        ASSERT_EQ(items(b.get()), b_before);
        if (mode_a != SZLIST_MODE_NONE && mode_b != SZLIST_MODE_NONE && mode_a != mode_b) {
            ASSERT_EQ(result, nullptr);
            ASSERT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
            ASSERT_EQ(items(a.get()), a_before);
            continue;
        }
        ASSERT_NE(result, nullptr);
        expect_sound(result);
        ASSERT_EQ(op == Op::unite ? in_order(result) : live(result), expected.items);
        ASSERT_EQ(MLIBSzListSorted(result), expected.mode);
        if (op != Op::unite) {
            ASSERT_EQ(live(result).size(), static_cast<size_t>(result->nItem)) << "no holes are left";
        }
        if (flag == SZLIST_OP_NEW) {
            ASSERT_NE(result, a.get());
            ASSERT_EQ(items(a.get()), a_before);
            MLIBSzListFree(result);
        } else {
            ASSERT_EQ(result, a.get());
        }
    }
}

TEST(ListSets, TakeTheSameListTwice) {
    for (const int mode : modes) {
        for (const int flag : {SZLIST_OP_INPLACE, SZLIST_OP_NEW}) {
            for (const Op op : operations) {
                SCOPED_TRACE(testing::Message() << "operation " << static_cast<int>(op) << ", mode " << mode);
                List list = make({"c", "A", "b", "é", {}, "d"}, mode);
                const Texts before = live(list.get());
                MLIBSZLIST *const result = apply(op, list, list.get(), flag);
                ASSERT_NE(result, nullptr);
                EXPECT_EQ(live(result), op == Op::subtract ? Texts() : before);
                expect_sound(result);
                if (flag == SZLIST_OP_NEW) MLIBSzListFree(result);
            }
        }
    }
}

TEST(ListSets, HoldThousandsOfNames) {
    Items even;
    Items odd;
    Items all;
    for (int i = 0; i < 20000; ++i) {
        const std::string name = "user" + std::to_string(i);
        (i % 2 ? odd : even).push_back(name);
        all.push_back(name);
    }
    for (const int mode : modes) {
        List a = make(even, mode);
        const List b = make(odd, mode);
        const List whole = make(all, mode);
        ASSERT_NE(apply(Op::unite, a, b.get(), SZLIST_OP_INPLACE), nullptr);
        Texts united = live(a.get());
        Texts expected = live(whole.get());
        if (mode == SZLIST_MODE_NONE) {
            std::sort(united.begin(), united.end());
            std::sort(expected.begin(), expected.end());
        }
        EXPECT_EQ(united, expected);
        ASSERT_EQ(apply(Op::subtract, a, b.get(), SZLIST_OP_INPLACE), a.get());
        EXPECT_EQ(live(a.get()), live(make(even, mode).get()));
        ASSERT_EQ(apply(Op::intersect, a, b.get(), SZLIST_OP_INPLACE), a.get());
        EXPECT_EQ(a->nItem, 0);
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

TEST(ListSets, NeverLoseCopiesForWantOfMemory) {
    const Items many(60, "a name that makes the list grow a few times");
    const List b = make(many, SZLIST_MODE_NONE);
    for (int nth = 1;; ++nth) {
        const List a = make({many[0]}, SZLIST_MODE_NONE);
        MLIBSZLIST *result;
        bool reached;
        {
            AllocFault fault(nth);
            result = PslMLIBSzListAnd(a.get(), b.get(), SZLIST_OP_NEW);
            reached = AllocFault::disarm();
        }
        if (result) {
            EXPECT_EQ(result->nItem, 60) << "with allocation " << nth << " failing";
        }
        MLIBSzListFree(result);
        if (!reached) break;
    }
}

TEST(ListSets, FailCleanlyWhenThereIsNoMemory) {
    Items first;
    Items second;
    for (int i = 0; i < 100; ++i) {
        first.push_back("name" + std::to_string(i));
        second.push_back("name" + std::to_string(2 * i));
    }
    for (const Op op : operations) {
        for (const int mode_a : modes) {
            for (const int mode_b : modes) {
                if (mode_a && mode_b && mode_a != mode_b) continue;
                for (const int flag : {SZLIST_OP_INPLACE, SZLIST_OP_NEW}) {
                    for (int nth = 1;; ++nth) {
                        List a = make(first, mode_a);
                        const List b = make(second, mode_b);
                        const Texts before = live(a.get());
                        MLIBSZLIST *result;
                        bool reached;
                        {
                            AllocFault fault(nth);
                            result = apply(op, a, b.get(), flag);
                            reached = AllocFault::disarm();
                        }
                        expect_sound(a.get());
                        if (!result) {
                            ASSERT_TRUE(reached);
                            ASSERT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
                            ASSERT_EQ(live(a.get()), before);
                        } else if (flag == SZLIST_OP_NEW) {
                            MLIBSzListFree(result);
                        }
                        if (!reached) break;
                    }
                }
            }
        }
    }
}

}  // namespace
