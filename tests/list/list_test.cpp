#include <limits.h>

#include <random>

#include "list_model.h"
#include "support/alloc_fault.h"
#include "support/refused.h"

using namespace list_testing;
using namespace testing_support;

namespace {

constexpr int header = sizeof(MLIBSZLIST);
constexpr int slot = sizeof(char *);

TEST(List, HoldsAtLeast512Bytes) {
    for (const int asked : {0, -1, INT_MIN, 511, 513, 4096}) {
        SCOPED_TRACE(asked);
        const List list(PslMLIBSzListAlloc(asked));
        EXPECT_EQ(list->nSize, static_cast<uint32_t>(std::max(asked, 512)));
        EXPECT_EQ(list->nItem, 0);
        EXPECT_EQ(list->fMode, 0u);
        EXPECT_EQ(list->nFree, std::max(asked, 512) - header);
        expect_sound(list.get());
    }
    MLIBSzListFree(nullptr);
}

TEST(List, RefusesArgumentsThatItCannotTake) {
    const List list = make({"a", "b"}), empty = make({}), sorted_list = make({"x"}, SZLIST_MODE_SORT),
               folded_list = make({"x"}, SZLIST_MODE_CASESORT);
    const MLIBSZLIST *const sorted = sorted_list.get(), *const folded = folded_list.get();
    MLIBSZLIST *handle = list.get(), *none = nullptr;
    MLIBErrSet(ERR_SUCCESS);
    const Refused storing[] = {
        MLIBSzListInsert(nullptr, 0, "x"),     MLIBSzListInsert(&none, 0, "x"),
        MLIBSzListInsert(&handle, 0, nullptr), MLIBSzListInsert(&handle, -1, "x"),
        MLIBSzListSet(nullptr, 0, "x"),        MLIBSzListSet(&none, 0, "x"),
        MLIBSzListSet(&handle, 0, nullptr),    MLIBSzListSet(&handle, -1, "x"),
        MLIBSzListSet(&handle, 2, "x"),        MLIBSzListUnshift(&handle, nullptr),
    };
    const Refused adding[] = {
        MLIBSzListPush(nullptr, "x"),    MLIBSzListPush(&none, "x"),    MLIBSzListPush(&handle, nullptr),
        MLIBSzListUnshift(nullptr, "x"), MLIBSzListUnshift(&none, "x"), MLIBSzListUnshift(&handle, nullptr),
    };
    const Refused taking[] = {
        SzMLIBSzListGet(nullptr, 0),    SzMLIBSzListGet(handle, -1),    SzMLIBSzListGet(handle, 2),
        SzMLIBSzListRemove(nullptr, 0), SzMLIBSzListRemove(handle, -1), SzMLIBSzListRemove(handle, 2),
        SzMLIBSzListShift(nullptr),     SzMLIBSzListPop(nullptr),       SzMLIBSzListShift(empty.get()),
        SzMLIBSzListPop(empty.get()),
    };
    const Refused searching[] = {
        MLIBSzListFind(nullptr, "x"),        MLIBSzListFind(handle, nullptr),
        MLIBSzListFind(folded, "x"),         MLIBSzListCaseFind(nullptr, "x"),
        MLIBSzListCaseFind(handle, nullptr), MLIBSzListCaseFind(sorted, "x"),
    };
    const Refused halving[] = {
        MLIBISzListFind(nullptr, -1, 0, "x", 0), MLIBISzListFind(handle, 1, 0, nullptr, 0),
        MLIBISzListFind(handle, 2, 0, "x", 0),   MLIBISzListFind(handle, 1, -1, "x", 0),
        MLIBISzListFind(nullptr, 1, 0, "x", 1),  MLIBISzListFind(handle, 2, 0, "x", 1),
    };
    const Refused whole_lists[] = {
        PslMLIBSzListAnd(nullptr, handle, 0),  PslMLIBSzListAnd(handle, nullptr, 0),
        PslMLIBSzListAnd(handle, handle, 1),   PslMLIBSzListOr(nullptr, handle, 0),
        PslMLIBSzListOr(&none, handle, 0),     PslMLIBSzListOr(&handle, nullptr, 0),
        PslMLIBSzListSub(nullptr, handle, 0),  PslMLIBSzListSub(handle, nullptr, 0),
        MORVListDBPack(nullptr, 512),          MORVListDBPack(handle, 511),
        MORVListDBUnpack(nullptr, 512),        MORVListDBUnpack("", 0),
        PslMLIBISzListExpand(nullptr),         MLIBSzListSorted(nullptr),
        (MLIBSzListSortItems(nullptr, 1), -1), (MLIBISzListClean(nullptr), -1),
        (MLIBISzListDump(nullptr), -1),        MORVListDBPack(handle, 0),
    };
    EXPECT_EQ(handle, list.get());
    EXPECT_EQ(items(handle), (Items{"a", "b"}));
    EXPECT_EQ(MLIBSzListRemoveAll(nullptr), nullptr);
}

// A list as a vector, with the rules of placement and growth stated a second time.
struct Model {
    int mode;
    Items items{};
    int64_t size = 512;
    int64_t stored = 0;  // bytes of texts, with those lost since the block last grew

    int64_t free() const { return size - header - int64_t(items.size()) * slot - stored; }

    void grow(int64_t room) {
        stored = 0;
        for (const Item &item : items)
            stored += item ? int64_t(item->size()) + 1 : 0;
        do {
            size *= 2;
        } while (free() < room);
    }
    void store(const std::string &text, int64_t new_slots) {
        const int64_t bytes = int64_t(text.size()) + 1;
        if (free() < bytes + new_slots * slot) grow(bytes + new_slots * slot);
        stored += bytes;
    }
    int insert(int at, const std::string &text) {
        const int count = int(items.size());
        if (mode) at = halve(items, mode, text, 0, count - 1);
        if (at < 0) at = ~at;
        store(text, std::max(at - count, 0) + 1);
        if (at > count) items.resize(size_t(at));
        items.insert(items.begin() + at, text);
        return at;
    }
    void set(int at, const std::string &text) {
        Item &item = items[size_t(at)];
        if (text.size() > item.value_or("").size()) store(text, 0);
        item = text;
    }
};

// A text with a shared front, case variants, letters outside ASCII and, if wanted, bytes that are not UTF-8.
std::string random_text(std::mt19937 &random, bool invalid) {
    static const char *const letters[] = {"a", "B", "b", "A", "z", "ß", "SS",  "é",
                                          "É", "я", "Я", "ΐ", "ﬁ", "𐐨", "\xFF"};
    const auto below = [&](size_t n) { return random() % n; };
    std::string text = below(3) ? "" : "a long common front of the name";
    for (size_t n = 1 + below(12); n > 0; --n)
        text += letters[below(std::size(letters) - !invalid)];
    return text;
}

void expect_in_order(const MLIBSZLIST *list, int mode, Items content) {
    const auto by_mode = mode == SZLIST_MODE_SORT ? MLIBISzListStrcmp : MLIBISzListUTF8StrCasecmp;
    for (int i = 1; i < list->nItem; ++i)
        ASSERT_LE(by_mode(&list->pszItem[i - 1], &list->pszItem[i]), 0);
    Items sorted = items(list);
    std::sort(sorted.begin(), sorted.end());
    std::sort(content.begin(), content.end());
    ASSERT_EQ(sorted, content) << "nothing is lost or doubled";
}

class ListModel : public testing::TestWithParam<int> {
  protected:
    size_t below(int n) { return random_() % size_t(n); }
    // A text: a new one, or one that lies in the list, in part, or was just removed from it.
    const char *pick(std::string &own) {
        own = below(40) ? random_text(random_, below(4) == 0) : std::string(below(3000) + 1, 'x');
        const char *text = own.c_str();
        if (list_->nItem && below(3) == 0) text = list_->pszItem[below(list_->nItem)];
        if (removed_ && below(2)) text = removed_;
        if (!*text) return own.c_str();
        return text[1] && below(4) == 0 ? text + 1 : text;
    }
    void take(int what) {
        const int at = what == 0 ? 0 : what == 1 ? list_->nItem - 1 : int(below(list_->nItem));
        removed_ = what == 0   ? SzMLIBSzListShift(list_)
                   : what == 1 ? SzMLIBSzListPop(list_)
                               : SzMLIBSzListRemove(list_, at);
        ASSERT_EQ(removed_, model_.items[size_t(at)].value_or(""));
        model_.items.erase(model_.items.begin() + at);
    }
    void set(int at, const char *text) {
        const std::string copy = text;
        MLIBErrSet(ERR_SUCCESS);
        const int result = MLIBSzListSet(&list_, at, text);
        model_.set(at, copy);
        if (model_.mode) {  // equal items may stand in any order
            ASSERT_NO_FATAL_FAILURE(expect_in_order(list_, model_.mode, model_.items));
            model_.items = items(list_);
            at = model_.mode == SZLIST_MODE_SORT ? find(model_.items, model_.mode, true, copy) : -1;
        }
        ASSERT_EQ(result, at);
        ASSERT_EQ(MLIBErrGet(), at < 0 ? ERR_BAD_PARAMETERS : ERR_SUCCESS);
    }
    void insert(int how, const char *text) {
        const std::string copy = text;
        const int count = list_->nItem;
        const int at = how == 0 ? 0 : how == 1 ? int(below(count + 4)) : count;
        const int result = how == 0   ? MLIBSzListUnshift(&list_, text)
                           : how == 1 ? MLIBSzListInsert(&list_, at, text)
                                      : MLIBSzListPush(&list_, text);
        ASSERT_EQ(result, model_.insert(at, copy));
    }
    void change() {
        std::string own;
        const int what = int(below(40));
        const char *const text = pick(own);
        removed_ = nullptr;
        if (what < 9 && list_->nItem > 0) {
            take(what % 3);
        } else if (what < 20 && list_->nItem > 0) {
            set(int(below(list_->nItem)), text);
        } else if (what == 20 && model_.size < 4096) {
            list_ = PslMLIBISzListExpand(list_);
            model_.grow(0);
        } else if (what == 21) {
            MLIBISzListClean(list_);
            std::erase(model_.items, std::nullopt);
        } else if (what == 22 && below(5) == 0) {
            ASSERT_EQ(MLIBSzListRemoveAll(list_), list_);
            model_.items.clear();
            model_.stored = 0;
        } else {
            insert(what % 4, text);
        }
    }
    void expect_same() {
        expect_sound(list_);
        ASSERT_EQ(items(list_), model_.items);
        ASSERT_EQ(list_->nSize, model_.size);
        ASSERT_EQ(list_->nFree, model_.free());
        ASSERT_EQ(MLIBSzListSorted(list_), model_.mode);
        std::string own;
        const char *const text = below(10) ? pick(own) : "";
        for (const int by : {SZLIST_MODE_SORT, SZLIST_MODE_CASESORT}) {
            if (model_.mode && model_.mode != by) continue;
            const auto search = by == SZLIST_MODE_SORT ? MLIBSzListFind : MLIBSzListCaseFind;
            MLIBErrSet(ERR_SUCCESS);
            const int found = search(list_, text);
            ASSERT_EQ(MLIBErrGet(), ERR_SUCCESS) << "a miss is no failure";
            ASSERT_EQ(found, find(model_.items, by, model_.mode != 0, text)) << text;
            const int low = int(below(list_->nItem + 1)), high = int(below(list_->nItem + 1)) - 1;
            ASSERT_EQ(MLIBISzListFind(list_, high, low, text, by == SZLIST_MODE_CASESORT),
                      high < 0 ? -1 : halve(model_.items, by, text, low, high));
        }
    }

    std::mt19937 random_{7};
    MLIBSZLIST *list_ = nullptr;
    Model model_{};
    const char *removed_ = nullptr;
};

TEST_P(ListModel, AgreesAfterEveryOneOfManyRandomOperations) {
    for (int round = 0; round < 60; ++round) {
        list_ = make({}, GetParam()).release();
        model_ = {GetParam()};
        removed_ = nullptr;
        for (int step = 0; step < 150; ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            ASSERT_NO_FATAL_FAILURE(change());
            ASSERT_NO_FATAL_FAILURE(expect_same());
            if (step % 8) continue;
            const List copy = unpack(pack(list_));
            ASSERT_NE(copy, nullptr);
            ASSERT_EQ(items(copy.get()), model_.items);
            ASSERT_EQ(copy->fMode, list_->fMode);
            ASSERT_EQ(copy->nSize, list_->nSize);
            ASSERT_EQ(pack(copy.get()), pack(list_));
        }
        MLIBSzListFree(list_);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, ListModel, testing::ValuesIn(modes));

TEST(List, RefusesToGrowBeyondWhatItsFieldsCanSay) {
    List list = make({"a"});
    MLIBSZLIST *handle = list.get();
    for (const int index : {INT_MAX, INT_MAX - 1, INT_MAX / 4}) {
        EXPECT_EQ(MLIBSzListInsert(&handle, index, "x"), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
        EXPECT_EQ(handle, list.get());
        EXPECT_EQ(items(handle), Items{"a"});
    }
}

TEST(List, IsAsItWasWhenThereIsNoMemoryToGrow) {
    const std::string text(400, 'x');
    const std::string longer = text + text;
    const int faults = for_each_alloc_fault([&](int) {
        MLIBSZLIST *list = PslMLIBSzListAlloc(0);
        const int pushed = list ? MLIBSzListPush(&list, text.c_str()) : -1;
        const int second = pushed < 0 ? -1 : MLIBSzListPush(&list, text.c_str());
        const int set = pushed < 0 ? -1 : MLIBSzListSet(&list, 0, longer.c_str());
        if (MLIBSZLIST *const expanded = list ? PslMLIBISzListExpand(list) : nullptr) list = expanded;
        const bool reached = AllocFault::disarm();
        EXPECT_TRUE(!reached || MLIBErrGet() == ERR_OUT_OF_MEMORY);
        if (list) {
            Items expected(size_t(pushed >= 0) + (second >= 0), text);
            if (set >= 0) expected[0] = longer;
            EXPECT_EQ(items(list), expected);
            expect_sound(list);
        }
        MLIBSzListFree(list);
        return reached;
    });
    EXPECT_GE(faults, 4);
}

// The empty text that is stored first shares its byte with the holes.
TEST(List, AcceptsEmptyTexts) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    for (const char *text : {"", "b", ""})
        EXPECT_GE(MLIBSzListPush(&list, text), 0);
    EXPECT_EQ(MLIBSzListSet(&list, 0, ""), 0);
    EXPECT_EQ(MLIBSzListSet(&list, 0, "longer"), 0);
    EXPECT_EQ(MLIBSzListSet(&list, 1, ""), 1);
    EXPECT_STREQ(SzMLIBSzListGet(list, 1), "");
    EXPECT_STREQ(SzMLIBSzListGet(list, 2), "");
    expect_sound(list);
    MLIBSzListFree(list);
}

TEST(SortedList, IsOnlyRelabelledWhenSortedAgain) {
    const List list = make({{}, "b", "C", "ß", "a"}, SZLIST_MODE_SORT);
    const struct {
        int mode;
        Items items;
    } steps[] = {
        {SZLIST_MODE_SORT, {"C", "a", "b", "ß"}},  // sorting has dropped the hole
        {SZLIST_MODE_CASESORT, {"C", "a", "b", "ß"}},
        {SZLIST_MODE_NONE, {"C", "a", "b", "ß"}},
        {SZLIST_MODE_CASESORT, {"a", "b", "C", "ß"}},
    };
    for (const auto &step : steps) {
        MLIBSzListSortItems(list.get(), step.mode);
        EXPECT_EQ(items(list.get()), step.items);
        EXPECT_EQ(MLIBSzListSorted(list.get()), step.mode);
    }
    EXPECT_EQ(MLIBSzListCaseFind(list.get(), "SS"), 3);
}

TEST(SortedList, IsInTheOrderOfItsComparatorWithAndWithoutMemory) {
    std::mt19937 random(7);
    for (int round = 0; round < 600; ++round) {
        const int mode = modes[1 + round / 300];
        Items content;
        // Long lists are sorted in another way than short ones.
        for (size_t n = random() % (round % 10 == 0 ? 1500 : 60); n > 0; --n)
            content.push_back(random_text(random, round % 2));
        const List list = make(content);
        {
            AllocFault fault(round % 3);
            MLIBSzListSortItems(list.get(), mode);
        }
        ASSERT_NO_FATAL_FAILURE(expect_in_order(list.get(), mode, content)) << "round " << round;
    }
}

TEST(List, IsPrintedWithItsAddresses) {
    const List list = make({"a", {}});
    testing::internal::CaptureStdout();
    MLIBISzListDump(list.get());
    fflush(stdout);
    char expected[512];
    const auto address = [](const void *at) { return at; };
    snprintf(expected, sizeof expected,
             "%p start address \n%p ,%p pszItem[0]=a\n%p ,%p pszItem[1]=\n"
             "nSize =512 \t nItem =2 \t nFree =%i \t fMode =0 \t EndofFree=%p\n",
             address(list.get()), address(list->pszItem[0]), address(&list->pszItem[0]),
             address(list->pszItem[1]), address(&list->pszItem[1]), list->nFree, address(list->EndofFree));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

}  // namespace
