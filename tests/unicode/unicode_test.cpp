#include <gtest/gtest.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/unicode.h>
#include <unicode/ucasemap.h>
#include <unicode/ustring.h>
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

TEST(Unicode, UpperCasesAndComparesTextsAsAWhole) {
    std::mt19937 random(3);
    const UChar32 points[] = {'a',   'Z',    's',    'S',    '_',    '0',     'i',
                              0xDF,  0x130,  0x131,  0x149,  0x390,  0x3C2,   0x3C3,
                              0x345, 0x1E9E, 0x1FB7, 0xFB03, 0xFFFD, 0x10000, 0x10428};
    const auto text = [&](size_t length) {
        std::string made;
        while (length-- > 0)
            made += utf8(points[random() % std::size(points)]);
        return made;
    };
    for (int round = 0; round < 4000; ++round) {
        const std::string a = text(random() % 20);
        // Often equal to the other, or different only at its end.
        const std::string b = round % 3 ? (round % 2 ? a : icu_upper(a)) + text(random() % 2) : text(2);
        const std::string expected = icu_upper(a);
        ASSERT_EQ(upper(a), expected) << a;
        char buffer[256] = "untouched";
        const int room[] = {static_cast<int>(expected.size()), 0, -1, INT_MIN};
        ASSERT_EQ(MLIBUnicodeUTF8StrUpper(a.c_str(), buffer, room[round % 4]), -1) << a;
        ASSERT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
        ASSERT_STREQ(buffer, "untouched");
        const int order = expected.compare(icu_upper(b));
        ASSERT_EQ(MLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()), (order > 0) - (order < 0))
            << a << ' ' << b;
    }
}

void expect_refused(const std::string &bad) {
    char buffer[64] = "untouched";
    MLIBErrSet(ERR_SUCCESS);
    const Refused call = MLIBUnicodeUTF8StrUpper(bad.c_str(), buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "untouched");
    for (const std::string &other : {std::string("0"), std::string("ß"), bad}) {
        EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(bad.c_str(), other.c_str()), -2);
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
        EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(other.c_str(), bad.c_str()), -2);
    }
}

// The bytes at the ends of each range that means something, in every order.
TEST(Unicode, RefusesTextsThatAreNotUtf8) {
    const std::string bytes = "(\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xE0\xED\xEF\xF0\xF4\xF5\xFF";
    for (size_t i = 0; i < bytes.size() * bytes.size() * bytes.size(); ++i) {
        std::string text = {bytes[i % 16], bytes[i / 16 % 16], bytes[i / 256]};
        if ((text[0] & 0xF0) == 0xF0) text += '\xBF';
        UErrorCode error = U_ZERO_ERROR;
        u_strFromUTF8(nullptr, 0, nullptr, text.data(), int32_t(text.size()), &error);
        SCOPED_TRACE(i);
        if (error == U_INVALID_CHAR_FOUND) {
            expect_refused(text);
        } else {
            ASSERT_EQ(upper(text), icu_upper(text));
        }
    }
    expect_refused("long enough and broken at the very end \xBF");
    char buffer[8];
    MLIBErrSet(ERR_SUCCESS);
    const Refused calls[] = {MLIBUnicodeUTF8StrUpper(nullptr, buffer, 8),
                             MLIBUnicodeUTF8StrUpper("a", nullptr, 8)};
    EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp(nullptr, "a"), -2);
    EXPECT_EQ(MLIBUnicodeUTF8StrCaseCmp("a", nullptr), -2);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
}

}  // namespace
