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

using testing_support::AllocFault;

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
    MLIBSzListPush(&list_, names.c_str());
    EXPECT_EQ(MLIBStrSep(SzMLIBSzListGet(list_, 0), ",", &list_), 200);
    EXPECT_EQ(MLIBStrTok(SzMLIBSzListGet(list_, 0), ",", &list_), 200);
    EXPECT_STREQ(SzMLIBSzListGet(list_, 400), "name199");
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
        Strings kept;
    } cases[] = {
        {"nobody,alice,nobody", {"alice"}},
        {"nobody", {}},
        {"nobody2,Nobody, nobody,,", {"nobody2", "Nobody", " nobody", "", ""}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.names);
        MLIBSzListPush(&list_, "before");
        EXPECT_EQ(MORVStrNobodyFilter(c.names, &list_), int(c.kept.size()));
        EXPECT_EQ(taken(), c.kept);
    }
    MLIBSzListPush(&list_, "before");
    EXPECT_EQ(MORVStrNobodyFilter("", &list_), 0);
    EXPECT_EQ(taken(), Strings{"before"});
}

TEST_F(Split, RefusesNullArguments) {
    MLIBSZLIST *none = nullptr;
    const int results[] = {
        MLIBStrSep(nullptr, ",", &list_),  MLIBStrSep("a", nullptr, &list_),
        MLIBStrSep("a", ",", nullptr),     MLIBStrSep("a", ",", &none),
        MLIBStrTok(nullptr, ",", &list_),  MLIBStrTok("a", nullptr, &list_),
        MLIBStrTok("a", ",", nullptr),     MLIBStrTok("a", ",", &none),
        MLIBStrSepPair(nullptr, &list_),   MLIBStrSepPair("a=b", nullptr),
        MLIBStrSepPair("a=b", &none),      MORVStrNobodyFilter(nullptr, &list_),
        MORVStrNobodyFilter("a", nullptr), MORVStrNobodyFilter("", &none),
    };
    for (const int result : results)
        EXPECT_EQ(result, -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(MLIBIStrTok(nullptr, ","), nullptr);
    EXPECT_EQ(taken(), Strings{});
}

TEST_F(Split, SaysWhenMemoryFails) {
    const std::string text = "key=" + std::string(2000, 'v');
    const auto with_faults = [&](auto call) {
        return testing_support::for_each_alloc_fault([&](int) {
            const int result = call(&list_);
            const bool reached = AllocFault::disarm();
            if (reached) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
            } else {
                EXPECT_GE(result, 0);
            }
            MLIBSzListFree(list_);
            list_ = PslMLIBSzListAlloc(0);
            return reached;
        });
    };
    EXPECT_GE(with_faults([&](MLIBSZLIST **list) { return MLIBStrSep(text.c_str(), "=", list); }), 2);
    EXPECT_GE(with_faults([&](MLIBSZLIST **list) { return MLIBStrTok(text.c_str(), "=", list); }), 2);
    EXPECT_GE(with_faults([&](MLIBSZLIST **list) { return MLIBStrSepPair(text.c_str(), list); }), 2);
    EXPECT_GE(with_faults([&](MLIBSZLIST **list) { return MORVStrNobodyFilter(text.c_str(), list); }), 2);
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
    const char *items[] = {"a", "b"};
    const char *nothing[] = {nullptr, nullptr};
    const char *empty[] = {"", ""};
    char *buffer = nullptr;
    int size = 0;
    EXPECT_EQ(MORVStrJoin(nullptr, 2, ",", &buffer, &size), -1);
    EXPECT_EQ(MORVStrJoin(items, 2, nullptr, &buffer, &size), -1);
    EXPECT_EQ(MORVStrJoin(items, 2, ",", nullptr, &size), -1);
    EXPECT_EQ(MORVStrJoin(items, 2, ",", &buffer, nullptr), -1);
    EXPECT_EQ(MORVStrJoin(items, 0, ",", &buffer, &size), -1);
    EXPECT_EQ(MORVStrJoin(nothing, 2, ",", &buffer, &size), -1);
    EXPECT_EQ(MORVStrJoin(empty, 2, "", &buffer, &size), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_EQ(buffer, nullptr);
    char own[] = "kept";
    char *pointer = own;
    EXPECT_EQ(MORVStrJoin(items, 2, ",", &pointer, &size), -1) << "a buffer has at least a byte";
    EXPECT_STREQ(own, "kept");
}

TEST(Join, ReleasesTheBufferThatItCannotGrow) {
    const char *items[] = {"a long item", "another one"};
    for (const int bytes : {0, 4}) {
        char *buffer = bytes ? static_cast<char *>(malloc(4)) : nullptr;
        int size = bytes;
        AllocFault fault(1);
        const int result = MORVStrJoin(items, 2, ",", &buffer, &size);
        ASSERT_TRUE(AllocFault::disarm());
        EXPECT_EQ(result, -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
        EXPECT_EQ(buffer, nullptr);
    }
}

TEST(Join, RefusesMoreThanASizeCanSay) {
    const std::string big(1 << 20, 'x');
    const std::vector<const char *> items(2048, big.c_str());
    char *buffer = nullptr;
    int size = 0;
    EXPECT_EQ(MORVStrJoin(const_cast<const char **>(items.data()), int(items.size()), "", &buffer, &size),
              -1);
    EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
}

}  // namespace
