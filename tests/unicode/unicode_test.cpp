#include <gtest/gtest.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/unicode.h>
#include <unicode/ucasemap.h>
#include <unicode/utf8.h>

#include <random>
#include <string>

#include "support/refused.h"

using testing_support::Refused;

namespace {

std::string utf8(UChar32 c) {
    char bytes[U8_MAX_LENGTH];
    int32_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, c);
    return {bytes, static_cast<size_t>(length)};
}

// The reference: ICU's own full upper-casing of the whole text.
std::string icu_upper(const std::string &text) {
    static UCaseMap *const map = [] {
        UErrorCode error = U_ZERO_ERROR;
        return ucasemap_open("", 0, &error);
    }();
    std::string upper(text.size() * 3 + 1, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = ucasemap_utf8ToUpper(map, upper.data(), static_cast<int32_t>(upper.size()),
                                                text.data(), static_cast<int32_t>(text.size()), &error);
    EXPECT_TRUE(U_SUCCESS(error));
    upper.resize(static_cast<size_t>(length));
    return upper;
}

std::string upper(const std::string &text) {
    std::string result(text.size() * 3 + 1, 'x');
    const int length = MLIBUnicodeUTF8StrUpper(text.c_str(), result.data(), static_cast<int>(result.size()));
    if (length < 0) return "failed";
    EXPECT_EQ(result[static_cast<size_t>(length)], '\0');
    result.resize(static_cast<size_t>(length));
    return result;
}

TEST(Unicode, UpperCasesEveryCodePointFully) {
    for (UChar32 c = 1; c <= 0x10FFFF; ++c) {
        if (U_IS_SURROGATE(c)) continue;
        const std::string text = utf8(c);
        const std::string expected = icu_upper(text);
        ASSERT_EQ(upper(text), expected) << std::hex << c;
        ASSERT_LE(expected.size(), text.size() * 3);
        ASSERT_EQ(MLIBUnicodeUTF8StrCaseCmp(text.c_str(), expected.c_str()), 0) << std::hex << c;
    }
}

TEST(Unicode, UpperCasesTextsAsAWhole) {
    std::mt19937 random(3);
    const UChar32 points[] = {'a',   'Z',   '0',    0xDF,   0x149,  0x390,   0x3C2,
                              0x3C3, 0x345, 0x1E9E, 0x1FB7, 0xFB03, 0x10428, 0x131};
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (size_t n = random() % 20; n > 0; --n)
            text += utf8(points[random() % std::size(points)]);
        ASSERT_EQ(upper(text), icu_upper(text)) << text;
    }
}

TEST(Unicode, WritesOnlyWhatFits) {
    const struct {
        const char *text, *upper;
    } cases[] = {{"", ""}, {"admin", "ADMIN"}, {"straße", "STRASSE"}, {"\u0390", "\u0399\u0308\u0301"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const int length = static_cast<int>(strlen(c.upper));
        char buffer[32] = "untouched";
        for (const int size : {length, 0, -1, INT_MIN}) {
            EXPECT_EQ(MLIBUnicodeUTF8StrUpper(c.text, buffer, size), -1);
            EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
            EXPECT_STREQ(buffer, "untouched");
        }
        EXPECT_EQ(MLIBUnicodeUTF8StrUpper(c.text, buffer, length + 1), length);
        EXPECT_STREQ(buffer, c.upper);
    }
}

TEST(Unicode, RefusesTextsThatAreNotUtf8) {
    const std::string cases[] = {"\x80",
                                 "\xFF",
                                 "a\xC3",
                                 "a\xC3(",
                                 "\xC0\x80",
                                 "\xC1\xBF",
                                 "\xE0\x80\x80",
                                 "\xE0\x9F\xBF",
                                 "\xED\xA0\x80",
                                 "\xED\xBF\xBF",
                                 "\xE2\x82",
                                 "\xF0\x80\x80\x80",
                                 "\xF0\x8F\xBF\xBF",
                                 "\xF4\x90\x80\x80",
                                 "\xF5\x80\x80\x80",
                                 "\xF0\x9F\x98",
                                 "long enough and broken at the very end \xBF"};
    for (const std::string &bad : cases) {
        SCOPED_TRACE(bad);
        char buffer[256] = "untouched";
        MLIBErrSet(ERR_SUCCESS);
        const Refused call = MLIBUnicodeUTF8StrUpper(bad.c_str(), buffer, sizeof buffer);
        EXPECT_STREQ(buffer, "untouched");
        for (const std::string &other : {std::string("0"), std::string("zzz"), std::string("ß"), bad}) {
            MLIBErrSet(ERR_SUCCESS);
            EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(bad.c_str(), other.c_str()), -2);
            EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
            EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(other.c_str(), bad.c_str()), -2);
        }
    }
    char buffer[8];
    MLIBErrSet(ERR_SUCCESS);
    const Refused calls[] = {MLIBUnicodeUTF8StrUpper(nullptr, buffer, 8),
                             MLIBUnicodeUTF8StrUpper("a", nullptr, 8)};
    EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(nullptr, "a"), -2);
    EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp("a", nullptr), -2);
}

TEST(Unicode, ComparesByTheUpperCasedCodePoints) {
    const struct {
        const char *a, *b;
        int order;
    } cases[] = {{"", "", 0},
                 {"", "a", -1},
                 {"admin", "ADMIN", 0},
                 {"a_b", "aXb", 1},
                 {"straße", "STRASSE", 0},
                 {"ß", "s", 1},
                 {"ß", "ST", -1},
                 {"ς", "σ", 0},
                 {"ﬁx", "FIX", 0},
                 {"𐐨", "𐐀", 0},
                 {"\uFFFD", "\U00010000", -1},
                 {"i", "İ", -1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.a) + " and " + c.b);
        EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(c.a, c.b), c.order);
        EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(c.b, c.a), -c.order);
    }
}

}  // namespace
