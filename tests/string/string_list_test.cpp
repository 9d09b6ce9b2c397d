// Splitting into lists, and joining.
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/string.h>
#include <morvsdk/list.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "support/alloc_fault.h"
#include "support/refused.h"

using namespace testing_support;

namespace {

using Strings = std::vector<std::string>;

class Split : public testing::Test {
  protected:
    ~Split() override { MLIBSzListFree(list_); }
    Strings taken() {
        Strings items;
        for (int i = 0; i < list_->nItem; ++i)
            items.emplace_back(SzMLIBSzListGet(list_, i));
        MLIBSzListRemoveAll(list_);
        return items;
    }
    MLIBSZLIST *list_ = PslMLIBSzListAlloc(0);
};

TEST_F(Split, KeepsOrDropsEmptyFields) {
    const struct {
        const char *text, *delimiters;
        Strings fields, tokens;
    } cases[] = {
        {"a,,b", ",", {"a", "", "b"}, {"a", "b"}},
        {"", ",", {""}, {}},
        {",", ",", {"", ""}, {}},
        {",a;b,", ",;", {"", "a", "b", ""}, {"a", "b"}},
        {"a b", "", {"a b"}, {"a b"}},
        {" a , b", ",", {" a ", " b"}, {" a ", " b"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(MLIBStrSep(c.text, c.delimiters, &list_), int(c.fields.size()));
        EXPECT_EQ(taken(), c.fields);
        EXPECT_EQ(MLIBStrTok(c.text, c.delimiters, &list_), int(c.tokens.size()));
        EXPECT_EQ(taken(), c.tokens);
    }
}

TEST_F(Split, TakesTheTextFromTheListThatItGrows) {
    std::string names;
    for (int i = 0; i < 200; ++i)
        names += (i ? "," : "") + std::string("name") + std::to_string(i);
    for (const auto split : {MLIBStrSep, MLIBStrTok}) {
        MLIBSzListFree(list_);
        list_ = PslMLIBSzListAlloc(0);
        MLIBSzListPush(&list_, names.c_str());
        MLIBSzListPush(&list_, ",");
        EXPECT_EQ(split(SzMLIBSzListGet(list_, 0), SzMLIBSzListGet(list_, 1), &list_), 200);
        EXPECT_STREQ(SzMLIBSzListGet(list_, 201), "name199");
    }
    EXPECT_EQ(MORVStrNobodyFilter(SzMLIBSzListGet(list_, 0), &list_), 200);
    EXPECT_STREQ(SzMLIBSzListGet(list_, 199), "name199");
}

TEST_F(Split, SeparatesAKeyFromItsValue) {
    const struct {
        const char *text;
        int result;
        Strings pushed;
    } cases[] = {
        {" key = value \n", 0, {"key", "value"}},
        {"key=a=b", 0, {"key", "a=b"}},
        {"\"my key\"=\" v \"", 0, {"my key", " v "}},
        {"key=", 0, {"key", ""}},
        {"=x", -1, {}},
        {" \t=x", -1, {}},
        {"\"\"=x", -1, {}},
        {"", -1, {}},
        {"key", -1, {"key"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        MLIBErrSet(ERR_UNKNOWN);
        EXPECT_EQ(MLIBStrSepPair(c.text, &list_), c.result);
        EXPECT_EQ(MLIBErrGet(), c.result == 0 ? ERR_UNKNOWN : ERR_BAD_PARAMETERS);
        EXPECT_EQ(taken(), c.pushed);
    }
}

TEST_F(Split, LeavesNobodyOut) {
    const struct {
        const char *names;
        int count;
        Strings kept;
    } cases[] = {
        {"nobody,alice,nobody", 1, {"alice"}},
        {"nobody", 0, {}},
        {"nobody2,Nobody, nobody,,", 5, {"nobody2", "Nobody", " nobody", "", ""}},
        {"", 0, {"before"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.names);
        MLIBSzListPush(&list_, "before");
        EXPECT_EQ(MORVStrNobodyFilter(c.names, &list_), c.count);
        EXPECT_EQ(taken(), c.kept);
    }
}

TEST_F(Split, RefusesNullArguments) {
    MLIBSZLIST *none = nullptr;
    MLIBErrSet(ERR_SUCCESS);
    const Refused calls[] = {
        MLIBStrSep(nullptr, ",", &list_),  MLIBStrSep("a", nullptr, &list_),
        MLIBStrSep("a", ",", nullptr),     MLIBStrSep("a", ",", &none),
        MLIBStrTok(nullptr, ",", &list_),  MLIBStrTok("a", nullptr, &list_),
        MLIBStrTok("a", ",", nullptr),     MLIBStrTok("a", ",", &none),
        MLIBStrSepPair(nullptr, &list_),   MLIBStrSepPair("a=b", nullptr),
        MLIBStrSepPair("a=b", &none),      MORVStrNobodyFilter(nullptr, &list_),
        MORVStrNobodyFilter("a", nullptr), MORVStrNobodyFilter("", &none),
    };
    EXPECT_EQ(MLIBIStrTok(nullptr, ","), nullptr);
    EXPECT_EQ(taken(), Strings{});
}

TEST_F(Split, SaysWhenMemoryFails) {
    const std::string word(2000, 'v'), text = word + "=" + word;
    int (*const calls[])(const char *, MLIBSZLIST **) = {
        [](const char *string, MLIBSZLIST **list) { return MLIBStrSep(string, "=", list); },
        [](const char *string, MLIBSZLIST **list) { return MLIBStrTok(string, "=", list); }, MLIBStrSepPair,
        MORVStrNobodyFilter};
    for (const auto call : calls) {
        const int faults = for_each_alloc_fault([&](int) {
            const int result = call(text.c_str(), &list_);
            const bool reached = AllocFault::disarm();
            EXPECT_EQ(result < 0, reached);
            EXPECT_TRUE(!reached || MLIBErrGet() == ERR_OUT_OF_MEMORY);
            MLIBSzListFree(list_);
            list_ = PslMLIBSzListAlloc(0);
            return reached;
        });
        EXPECT_GE(faults, 2);
    }
}

TEST(Join, PutsTheSeparatorBetweenTheItems) {
    const struct {
        std::vector<const char *> items;
        const char *separator, *text;
        int size;
    } cases[] = {
        {{"a", nullptr, "b"}, ", ", "a, b", 6}, {{"a"}, ",", "a", 2}, {{nullptr, "a", nullptr}, "--", "a", 3},
        {{"", "", "x", ""}, ",", ",,x,", 5},    {{""}, ",", "", 1},   {{"ab", "c"}, "", "abc", 3},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.text);
        char *buffer = nullptr;
        int size = 0;
        const int count = int(c.items.size());
        EXPECT_EQ(MORVStrJoin(c.items.data(), count, c.separator, &buffer, &size), 0);
        EXPECT_STREQ(buffer, c.text);
        EXPECT_EQ(size, c.size);
        free(buffer);

        // A buffer of the caller, of every size around the one needed.
        for (int bytes = 1; bytes <= c.size + 2; ++bytes) {
            buffer = static_cast<char *>(malloc(size_t(bytes)));
            memset(buffer, '#', size_t(bytes));
            size = bytes;
            EXPECT_EQ(MORVStrJoin(c.items.data(), count, c.separator, &buffer, &size), 0);
            EXPECT_STREQ(buffer, c.text);
            EXPECT_EQ(size, std::max(bytes, c.size));
            EXPECT_EQ(buffer[size - 1], size > int(strlen(c.text)) ? '\0' : c.text[size - 1]);
            free(buffer);
        }
    }
}

TEST(Join, RefusesWhatCannotBeJoined) {
    const char *items[] = {"a", "b"}, *nothing[] = {nullptr, nullptr}, *empty[] = {"", ""};
    char own[] = "kept", *buffer = nullptr, *pointer = own;
    int size = 0;
    MLIBErrSet(ERR_SUCCESS);
    const Refused calls[] = {
        MORVStrJoin(nullptr, 2, ",", &buffer, &size), MORVStrJoin(items, 2, nullptr, &buffer, &size),
        MORVStrJoin(items, 2, ",", nullptr, &size),   MORVStrJoin(items, 2, ",", &buffer, nullptr),
        MORVStrJoin(items, 0, ",", &buffer, &size),   MORVStrJoin(nothing, 2, ",", &buffer, &size),
        MORVStrJoin(empty, 2, "", &buffer, &size),    MORVStrJoin(items, 2, ",", &pointer, &size),
    };
    EXPECT_EQ(buffer, nullptr);
    EXPECT_STREQ(own, "kept");
}

TEST(Join, ReleasesTheBufferThatItCannotGrow) {
    // Without memory, and for more than a size can say.
    const std::string big(1 << 20, 'x');
    for (const size_t count : {2, 2048}) {
        for (const int bytes : {0, 4}) {
            std::vector<const char *> items(count, big.c_str());
            char *buffer = bytes ? static_cast<char *>(malloc(4)) : nullptr;
            int size = bytes;
            AllocFault fault(count == 2);
            const int result = MORVStrJoin(items.data(), int(count), "", &buffer, &size);
            EXPECT_EQ(AllocFault::disarm(), count == 2);
            EXPECT_EQ(result, -1);
            EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
            EXPECT_EQ(buffer, nullptr);
        }
    }
}

}  // namespace
