#include "list_model.h"

#include <limits.h>

#include <algorithm>
#include <functional>
#include <random>

#include "support/alloc_fault.h"

using namespace list_testing;
using testing_support::AllocFault;
using testing_support::for_each_alloc_fault;

namespace {

TEST(List, HoldsAtLeast512Bytes) {
    const struct {
        int asked;
        uint32_t size;
    } cases[] = {{0, 512}, {-1, 512}, {INT_MIN, 512}, {511, 512}, {513, 513}, {4096, 4096}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.asked);
        const List list(PslMLIBSzListAlloc(c.asked));
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(list->nSize, c.size);
        EXPECT_EQ(list->nItem, 0);
        EXPECT_EQ(list->fMode, 0u);
        EXPECT_EQ(list->nFree, static_cast<int>(c.size - sizeof(MLIBSZLIST)));
        expect_sound(list.get());
    }
    MLIBSzListFree(nullptr);
}

TEST(List, RefusesArgumentsThatAreNone) {
    List list = make({"a", "b"});
    MLIBSZLIST *handle = list.get();
    MLIBSZLIST *none = nullptr;
    const std::function<bool()> calls[] = {
        [&] { return MLIBSzListInsert(nullptr, 0, "x") == -1; },
        [&] { return MLIBSzListInsert(&none, 0, "x") == -1; },
        [&] { return MLIBSzListInsert(&handle, 0, nullptr) == -1; },
        [&] { return MLIBSzListInsert(&handle, -1, "x") == -1; },
        [&] { return MLIBSzListPush(nullptr, "x") == -1; },
        [&] { return MLIBSzListPush(&none, "x") == -1; },
        [&] { return MLIBSzListPush(&handle, nullptr) == -1; },
        [&] { return MLIBSzListUnshift(nullptr, "x") == -1; },
        [&] { return MLIBSzListUnshift(&none, "x") == -1; },
        [&] { return MLIBSzListUnshift(&handle, nullptr) == -1; },
        [&] { return SzMLIBSzListGet(nullptr, 0) == nullptr; },
        [&] { return SzMLIBSzListGet(handle, -1) == nullptr; },
        [&] { return SzMLIBSzListGet(handle, 2) == nullptr; },
        [&] { return MLIBSzListSet(nullptr, 0, "x") == -1; },
        [&] { return MLIBSzListSet(&none, 0, "x") == -1; },
        [&] { return MLIBSzListSet(&handle, 0, nullptr) == -1; },
        [&] { return MLIBSzListSet(&handle, -1, "x") == -1; },
        [&] { return MLIBSzListSet(&handle, 2, "x") == -1; },
        [&] { return SzMLIBSzListRemove(nullptr, 0) == nullptr; },
        [&] { return SzMLIBSzListRemove(handle, -1) == nullptr; },
        [&] { return SzMLIBSzListRemove(handle, 2) == nullptr; },
        [&] { return SzMLIBSzListShift(nullptr) == nullptr; },
        [&] { return SzMLIBSzListPop(nullptr) == nullptr; },
        [&] { return SzMLIBSzListPop(make({}).get()) == nullptr; },
        [&] { return SzMLIBSzListShift(make({}).get()) == nullptr; },
        [&] { return MLIBSzListFind(nullptr, "x") == -1; },
        [&] { return MLIBSzListFind(handle, nullptr) == -1; },
        [&] { return MLIBSzListFind(make({"x"}, SZLIST_MODE_CASESORT).get(), "x") == -1; },
        [&] { return MLIBSzListCaseFind(nullptr, "x") == -1; },
        [&] { return MLIBSzListCaseFind(handle, nullptr) == -1; },
        [&] { return MLIBSzListCaseFind(make({"x"}, SZLIST_MODE_SORT).get(), "x") == -1; },
        [&] { return MLIBSzListSortItems(nullptr, SZLIST_MODE_SORT), true; },
        [&] { return MLIBSzListSorted(nullptr) == -1; },
        [&] { return PslMLIBISzListExpand(nullptr) == nullptr; },
        [&] { return MLIBISzListClean(nullptr), true; },
        [&] { return MLIBISzListDump(nullptr), true; },
        [&] { return MLIBISzListFind(nullptr, -1, 0, "x", 0) == -1; },
        [&] { return MLIBISzListFind(handle, 1, 0, nullptr, 0) == -1; },
        [&] { return MLIBISzListFind(handle, 2, 0, "x", 0) == -1; },
        [&] { return MLIBISzListFind(handle, 1, -1, "x", 0) == -1; },
        [&] { return PslMLIBSzListAnd(nullptr, handle, 0) == nullptr; },
        [&] { return PslMLIBSzListAnd(handle, nullptr, 0) == nullptr; },
        [&] { return PslMLIBSzListAnd(handle, handle, 1) == nullptr; },
        [&] { return PslMLIBSzListOr(nullptr, handle, 0) == nullptr; },
        [&] { return PslMLIBSzListOr(&none, handle, 0) == nullptr; },
        [&] { return PslMLIBSzListOr(&handle, nullptr, 0) == nullptr; },
        [&] { return PslMLIBSzListSub(nullptr, handle, 0) == nullptr; },
        [&] { return PslMLIBSzListSub(handle, nullptr, 0) == nullptr; },
        [&] { return MORVListDBPack(nullptr, 512) == nullptr; },
        [&] { return MORVListDBPack(handle, 0) == nullptr; },
        [&] { return MORVListDBPack(handle, 511) == nullptr; },
        [&] { return MORVListDBUnpack(nullptr, 512) == nullptr; },
        [&] { return MORVListDBUnpack("", 0) == nullptr; },
    };
    int number = 0;
    for (const auto &call : calls) {
        SCOPED_TRACE(number++);
        MLIBErrSet(ERR_UNKNOWN);
        EXPECT_TRUE(call());
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    }
    EXPECT_EQ(handle, list.get());
    EXPECT_EQ(items(handle), (Items{"a", "b"}));
    EXPECT_EQ(MLIBSzListRemoveAll(nullptr), nullptr);
}

TEST(List, LeavesHolesThatReadAsEmptyTexts) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    EXPECT_EQ(MLIBSzListInsert(&list, 5, "x"), 5);
    EXPECT_EQ(list->nItem, 6);
    for (int i = 0; i < 5; ++i)
        EXPECT_STREQ(SzMLIBSzListGet(list, i), "");
    EXPECT_STREQ(SzMLIBSzListGet(list, 5), "x");
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MLIBSzListFind(list, ""), -1) << "a hole is no item to be found";
    EXPECT_EQ(MLIBSzListCaseFind(list, ""), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS) << "a miss is no failure";
    EXPECT_EQ(MLIBSzListSet(&list, 2, "y"), 2) << "a hole can be filled";
    list = PslMLIBISzListExpand(list);
    EXPECT_EQ(items(list), (Items{{}, {}, "y", {}, {}, "x"}));
    expect_sound(list);
    const int free_before = list->nFree;
    MLIBISzListClean(list);
    EXPECT_EQ(items(list), (Items{"y", "x"}));
    EXPECT_EQ(list->nFree, free_before + 4 * static_cast<int>(sizeof(char *)));
    MLIBSzListFree(list);
}

TEST(List, GrowsByDoublingAndTakesLostBytesBack) {
    constexpr int header = sizeof(MLIBSZLIST);
    constexpr int slot = sizeof(char *);
    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    const std::string text(300, 'x');
    ASSERT_EQ(MLIBSzListPush(&list, text.c_str()), 0);
    ASSERT_STREQ(SzMLIBSzListPop(list), text.c_str());
    EXPECT_EQ(list->nFree, 512 - header - 301) << "the bytes of what was removed are lost";
    ASSERT_EQ(MLIBSzListPush(&list, text.c_str()), 0);
    EXPECT_EQ(list->nSize, 1024u);
    EXPECT_EQ(list->nFree, 1024 - header - 301 - slot) << "until the block grows";

    const std::string large(10000, 'y');
    ASSERT_EQ(MLIBSzListPush(&list, large.c_str()), 1);
    EXPECT_EQ(list->nSize, 16384u) << "as often as needed";
    list = PslMLIBISzListExpand(list);
    EXPECT_EQ(list->nSize, 32768u);
    EXPECT_EQ(SzMLIBSzListGet(list, 1), large);
    EXPECT_EQ(MLIBSzListRemoveAll(list), list);
    EXPECT_EQ(list->nItem, 0);
    EXPECT_EQ(list->nFree, 32768 - header);
    expect_sound(list);
    MLIBSzListFree(list);
}

TEST(List, TakesTextsThatLieInItself) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    MLIBSzListPush(&list, "the first of many");
    for (int i = 0; i < 1000; ++i)
        ASSERT_GE(MLIBSzListPush(&list, SzMLIBSzListGet(list, i)), 0);
    for (int i = 0; i < 200; ++i) {
        const std::string longer = std::string(SzMLIBSzListGet(list, i)) + std::string(100, 'z');
        ASSERT_EQ(MLIBSzListSet(&list, 0, longer.c_str()), 0);
        ASSERT_EQ(MLIBSzListSet(&list, i + 1, SzMLIBSzListGet(list, 0)), i + 1);
        ASSERT_EQ(SzMLIBSzListGet(list, i + 1), longer);
    }
    EXPECT_EQ(MLIBSzListSet(&list, 1000, SzMLIBSzListGet(list, 1000) + 4), 1000);
    EXPECT_STREQ(SzMLIBSzListGet(list, 1000), "first of many");
    const char *const removed = SzMLIBSzListShift(list);
    const std::string kept = removed;
    EXPECT_GE(MLIBSzListPush(&list, removed), 0);
    EXPECT_EQ(SzMLIBSzListGet(list, list->nItem - 1), kept);
    expect_sound(list);
    MLIBSzListFree(list);
}

TEST(List, RefusesToGrowBeyondWhatItsFieldsCanSay) {
    List list = make({"a"});
    MLIBSZLIST *handle = list.get();
    for (const int index : {INT_MAX, INT_MAX - 1, INT_MAX / 4}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(MLIBSzListInsert(&handle, index, "x"), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
        EXPECT_EQ(handle, list.get());
        EXPECT_EQ(items(handle), Items{"a"});
    }
}

TEST(List, IsAsItWasWhenThereIsNoMemoryToGrow) {
    const std::string text(400, 'x');
    const std::string longer = text + text;
    EXPECT_GE(for_each_alloc_fault([&](int) {
                  MLIBSZLIST *list = PslMLIBSzListAlloc(0);
                  if (!list) {
                      const bool reached = AllocFault::disarm();
                      EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
                      return reached;
                  }
                  const int pushed = MLIBSzListPush(&list, text.c_str());
                  const int second = pushed < 0 ? -1 : MLIBSzListPush(&list, text.c_str());
                  const int set = pushed < 0 ? -1 : MLIBSzListSet(&list, 0, longer.c_str());
                  MLIBSZLIST *const expanded = PslMLIBISzListExpand(list);
                  if (expanded) list = expanded;
                  const bool reached = AllocFault::disarm();
                  EXPECT_EQ(list->nItem, (pushed >= 0) + (second >= 0));
                  if (list->nItem > 0) {
                      EXPECT_EQ(SzMLIBSzListGet(list, 0), set >= 0 ? longer : text);
                  }
                  EXPECT_TRUE(!reached || MLIBErrGet() == ERR_OUT_OF_MEMORY);
                  expect_sound(list);
                  MLIBSzListFree(list);
                  return reached;
              }),
              3);
}

TEST(List, RemovesFromBothEndsAndTheMiddle) {
    List list = make({"a", "b", "c", "d"});
    EXPECT_STREQ(SzMLIBSzListShift(list.get()), "a");
    EXPECT_STREQ(SzMLIBSzListPop(list.get()), "d");
    EXPECT_STREQ(SzMLIBSzListRemove(list.get(), 0), "b");
    EXPECT_EQ(items(list.get()), Items{"c"});
    MLIBSZLIST *handle = list.release();
    EXPECT_EQ(MLIBSzListUnshift(&handle, "first"), 0);
    EXPECT_EQ(MLIBSzListInsert(&handle, 1, "middle"), 1);
    EXPECT_EQ(items(handle), (Items{"first", "middle", "c"}));
    expect_sound(handle);
    MLIBSzListFree(handle);
}

// The empty text that is stored first shares its byte with the holes.
TEST(List, AcceptsEmptyTexts) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    EXPECT_EQ(MLIBSzListPush(&list, ""), 0);
    EXPECT_EQ(MLIBSzListPush(&list, "b"), 1);
    EXPECT_EQ(MLIBSzListPush(&list, ""), 2);
    EXPECT_EQ(MLIBSzListSet(&list, 0, ""), 0);
    EXPECT_EQ(MLIBSzListSet(&list, 0, "longer"), 0);
    EXPECT_STREQ(SzMLIBSzListGet(list, 2), "");
    EXPECT_EQ(MLIBSzListSet(&list, 1, ""), 1);
    EXPECT_STREQ(SzMLIBSzListGet(list, 1), "");
    expect_sound(list);
    MLIBSzListFree(list);
}

TEST(SortedList, PlacesWhatIsInserted) {
    List list = make({}, SZLIST_MODE_SORT);
    MLIBSZLIST *handle = list.release();
    EXPECT_EQ(MLIBSzListPush(&handle, "b"), 0);
    EXPECT_EQ(MLIBSzListPush(&handle, "a"), 0);
    EXPECT_EQ(MLIBSzListInsert(&handle, 99, "c"), 2) << "the index is ignored";
    EXPECT_EQ(MLIBSzListUnshift(&handle, "d"), 3);
    const int again = MLIBSzListPush(&handle, "a");
    EXPECT_EQ(again, 0);
    EXPECT_EQ(items(handle), (Items{"a", "a", "b", "c", "d"}));
    EXPECT_EQ(MLIBSzListSet(&handle, 1, "e"), 4);
    EXPECT_EQ(items(handle), (Items{"a", "b", "c", "d", "e"}));
    EXPECT_EQ(MLIBSzListFind(handle, "d"), 3);
    EXPECT_EQ(MLIBSzListFind(handle, "dd"), -1);
    expect_sound(handle);
    MLIBSzListFree(handle);
}

TEST(SortedList, OfCaseInsensitiveOrderIsSearchedWithoutCase) {
    List list = make({"Über", "alpha", "straße", "Beta"}, SZLIST_MODE_CASESORT);
    EXPECT_EQ(items(list.get()), (Items{"alpha", "Beta", "straße", "Über"}));
    EXPECT_EQ(MLIBSzListCaseFind(list.get(), "STRASSE"), 2);
    EXPECT_EQ(MLIBSzListCaseFind(list.get(), "über"), 3);
    EXPECT_EQ(MLIBSzListCaseFind(list.get(), "\xFF"), -1) << "invalid UTF-8 equals nothing";
    MLIBSZLIST *handle = list.release();
    EXPECT_EQ(MLIBSzListPush(&handle, "ALPHA"), 0);
    EXPECT_EQ(MLIBSzListPush(&handle, "gamma"), 3);
    EXPECT_EQ(MLIBSzListPush(&handle, "\xFF"), 0) << "a search that fails at once ends at the front";
    MLIBSzListFree(handle);

    const List unsorted = make({"\xFF", "B", "b"});
    EXPECT_EQ(MLIBSzListCaseFind(unsorted.get(), "b"), 1) << "the first one";
    EXPECT_EQ(MLIBSzListCaseFind(unsorted.get(), "\xFF"), -1);
    EXPECT_EQ(MLIBSzListFind(unsorted.get(), "\xFF"), 0);
}

TEST(SortedList, ReplacesAnItemOfCaseInsensitiveOrderAndStillFails) {
    List list = make({"a", "B", "c"}, SZLIST_MODE_CASESORT);
    MLIBSZLIST *handle = list.release();
    EXPECT_EQ(MLIBSzListSet(&handle, 0, "D"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(items(handle), (Items{"B", "c", "D"}));
    MLIBSzListFree(handle);
}

TEST(SortedList, IsOnlyRelabelledWhenSortedAgain) {
    List list = make({{}, "b", "C", "a"}, SZLIST_MODE_SORT);
    EXPECT_EQ(items(list.get()), (Items{"C", "a", "b"})) << "sorting drops the holes";
    MLIBSzListSortItems(list.get(), SZLIST_MODE_CASESORT);
    EXPECT_EQ(items(list.get()), (Items{"C", "a", "b"}));
    EXPECT_EQ(MLIBSzListSorted(list.get()), SZLIST_MODE_CASESORT);
    MLIBSzListSortItems(list.get(), SZLIST_MODE_NONE);
    EXPECT_EQ(MLIBSzListSorted(list.get()), SZLIST_MODE_NONE);
    MLIBSzListSortItems(list.get(), SZLIST_MODE_CASESORT);
    EXPECT_EQ(items(list.get()), (Items{"a", "b", "C"}));
    MLIBSzListRemoveAll(list.get());
    EXPECT_EQ(MLIBSzListSorted(list.get()), SZLIST_MODE_CASESORT) << "emptying keeps the mode";
}

TEST(SortedList, IsSearchedByHalvingBetweenTheGivenPlaces) {
    const List list = make({"b", "d", "f", "h"}, SZLIST_MODE_SORT);
    const struct {
        const char *text;
        int low, high, caseless, answer;
    } cases[] = {
        {"b", 0, 3, 0, 0},     {"h", 0, 3, 0, 3},   {"a", 0, 3, 0, ~0}, {"i", 0, 3, 0, ~4},
        {"e", 0, 3, 0, ~2},    {"b", 1, 3, 0, ~1},  {"B", 0, 3, 0, ~0}, {"B", 0, 3, 1, 0},
        {"\xC0", 0, 3, 1, ~0}, {"x", 2, -1, 0, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(MLIBISzListFind(list.get(), c.high, c.low, c.text, c.caseless), c.answer);
    }
}

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

TEST(SortedList, IsInTheOrderOfItsComparatorWithAndWithoutMemory) {
    std::mt19937 random(7);
    for (const int mode : {SZLIST_MODE_SORT, SZLIST_MODE_CASESORT}) {
        const auto compare = mode == SZLIST_MODE_SORT ? MLIBISzListStrcmp : MLIBISzListUTF8StrCasecmp;
        for (int round = 0; round < 300; ++round) {
            Items content;
            // Long lists are sorted in another way than short ones.
            for (size_t n = random() % (round % 10 == 0 ? 1500 : 60); n > 0; --n)
                content.push_back(random_text(random, round % 2));
            const List list = make(content);
            {
                AllocFault fault(round % 3);
                MLIBSzListSortItems(list.get(), mode);
            }
            for (int i = 1; i < list->nItem; ++i)
                ASSERT_LE(compare(&list->pszItem[i - 1], &list->pszItem[i]), 0) << "round " << round;
            Items sorted = items(list.get());
            std::sort(sorted.begin(), sorted.end());
            std::sort(content.begin(), content.end());
            ASSERT_EQ(sorted, content) << "nothing is lost or doubled";
        }
    }
}

TEST(List, IsPrintedWithItsAddresses) {
    const List list = make({"a", {}});
    testing::internal::CaptureStdout();
    MLIBISzListDump(list.get());
    fflush(stdout);
    char expected[512];
    snprintf(expected, sizeof expected,
             "%p start address \n%p ,%p pszItem[0]=a\n%p ,%p pszItem[1]=\n"
             "nSize =512 \t nItem =2 \t nFree =%i \t fMode =0 \t EndofFree=%p\n",
             static_cast<void *>(list.get()), static_cast<void *>(list->pszItem[0]),
             static_cast<void *>(&list->pszItem[0]), static_cast<void *>(list->pszItem[1]),
             static_cast<void *>(&list->pszItem[1]), list->nFree, static_cast<void *>(list->EndofFree));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

}  // namespace
