#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/string.h>
#include <morvsdk/string.h>
#include <string.h>

#include <random>
#include <string>
#include <tuple>

#include "support/refused.h"

using testing_support::Refused;

namespace {

// A buffer of exactly the given bytes: the sanitizer sees a byte too many. It starts with a text or with
// junk.
class Buffer {
  public:
    explicit Buffer(size_t bytes, const char *text = nullptr) : bytes_(new char[bytes]) {
        memset(bytes_, '#', bytes);
        if (text) memcpy(bytes_, text, strlen(text) + 1);
    }
    explicit Buffer(const char *text) : Buffer(strlen(text) + 1, text) {}
    ~Buffer() { delete[] bytes_; }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    operator char *() const { return bytes_; }

  private:
    char *bytes_;
};

// Each size excludes the terminator. That of the encoded text is needed, only to make hexadecimal digits that
// of the plain one.
TEST(Code, GoesBothWaysWithinTheSize) {
    const struct {
        bool colon;
        const char *plain, *coded;
    } cases[] = {
        {true, "", ""},
        {true, "plain,text", "plain,text"},
        {true, "a:b;c", "a;,b;;c"},
        {true, ":::", ";,;,;,"},
        {true, ";,", ";;,"},
        {true, "\xc3\xa9:", "\xc3\xa9;,"},
        {false, "", ""},
        {false, "A", "41"},
        {false, "az\x7f", "617A7F"},
        {false, "\xff\x80", "FF80"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.coded);
        const auto encode = c.colon ? MLIBStrEncodeColon : MLIBStringToHexCode;
        const auto decode = c.colon ? MLIBStrDecodeColon : MLIBStrHexCodeToString;
        const int plain_length = int(strlen(c.plain)), length = int(strlen(c.coded));
        const int size = c.colon ? length : plain_length;
        Buffer coded(size_t(length) + 1), plain(size_t(c.colon ? length : plain_length) + 1);
        EXPECT_EQ(encode(c.plain, coded, size), length);
        EXPECT_STREQ(coded, c.coded);
        EXPECT_EQ(decode(c.coded, plain, length), plain_length);
        EXPECT_STREQ(plain, c.plain);
        for (const auto &[code, from, to, least] :
             {std::tuple{encode, c.plain, &coded, size}, {decode, c.coded, &plain, length}}) {
            MLIBErrSet(ERR_SUCCESS);
            EXPECT_EQ(code(from, *to, least - 1), -1);
            EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
        }
    }
}

TEST(Colon, DecodingEndsAtAnEscapeThatIsNone) {
    for (const auto &[escaped, plain] :
         {std::pair{"ab;x", "ab"}, {"ab;", "ab"}, {";", ""}, {";;;,;:", ";:"}}) {
        Buffer dst(strlen(escaped) + 1);
        EXPECT_EQ(MLIBStrDecodeColon(escaped, dst, int(strlen(escaped))), int(strlen(plain)));
        EXPECT_STREQ(dst, plain);
    }
}

TEST(Trim, DropsBlanksAndOnePairOfQuotes) {
    const struct {
        const char *text, *trimmed;
    } cases[] = {
        {"", ""},
        {"a", "a"},
        {"\"", "\""},
        {"\"\"", ""},
        {" \" ", "\""},
        {"\"a", "\"a"},
        {" \t\r\n ", ""},
        {"\" a \"", " a "},
        {"a\"b\"", "a\"b\""},
        {" \ta b\r\n", "a b"},
        {"  \"a b\"  ", "a b"},
        {"\"\"a\"\"", "\"a\""},
        {"\v\fa\xa0", "\v\fa\xa0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const int length = int(strlen(c.trimmed));
        Buffer text(c.text), dst(size_t(length) + 1);
        EXPECT_EQ(MLIBStrTrimSpace(text, dst), length);
        EXPECT_STREQ(dst, c.trimmed);
        EXPECT_STREQ(text, c.text) << "only dst is written";
        EXPECT_EQ(MLIBStrTrimSpace(text, text), length);
        EXPECT_STREQ(text, c.trimmed);
        Buffer again(c.text);
        EXPECT_EQ(MLIBStrTrimSpace(again, nullptr), length);
        EXPECT_STREQ(again, c.trimmed);
    }
}

TEST(Trim, RefusesADestinationInsideOfTheText) {
    char text[] = "## abc ";
    for (int inside = 1; inside <= 5; ++inside) {
        EXPECT_EQ(MLIBStrTrimSpace(text + 2, text + 2 + inside), -1) << inside;
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    }
    EXPECT_EQ(MLIBStrTrimSpace(text + 2, text), 3) << "before it there is nothing to lose";
    EXPECT_STREQ(text, "abc");
}

TEST(CaseLower, MapsBytesInPlaceOrIntoABuffer) {
    Buffer text("MiXeD 1\xc3\x89"), dst(10);
    EXPECT_EQ(SzMLIBStrCaseLower(text, 0, dst, 0), dst) << "with a dst the size is not looked at";
    EXPECT_STREQ(dst, "mixed 1\xc3\x89");
    EXPECT_EQ(SzMLIBStrCaseLower(text, 0, nullptr, 8), nullptr);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    EXPECT_STREQ(text, "MiXeD 1\xc3\x89");
    EXPECT_EQ(SzMLIBStrCaseLower(text, 99, nullptr, 9), text);
    EXPECT_STREQ(text, "mixed 1\xc3\x89");
}

// Every edit beside a plain string: in place and into every position that overlaps the text, with the room
// that it needs and a byte less. Nothing but the result and its terminator is written, and that only if it
// fits.
TEST(Edit, ChangesTheFirstOccurrenceWhereverItWrites) {
    enum { replace, remove, after, before };
    std::mt19937 random(5);
    const auto below = [&](int n) { return int(random() % unsigned(n)); };
    const auto letters = [&](int most) {
        std::string text;
        for (int n = below(most); n > 0; --n)
            text += char('a' + below(2));
        return text;
    };
    for (int round = 0; round < 30000; ++round) {
        const int edit = below(4);
        const std::string text = letters(8), needle = letters(4), other = edit == remove ? "" : letters(6);
        const bool inserts = edit == after || edit == before;
        const size_t cut = inserts ? 0 : needle.size(), found = text.find(needle);
        const int needed = int(text.size() + other.size()) - int(cut) + inserts;
        const int size = below(20) ? needed + below(3) - 1 : -1;

        std::string result = text;
        const bool exists = found != text.npos, fits = size >= needed;
        if (exists) result.replace(found + (edit == after ? needle.size() : 0), cut, other);
        const int expected = !fits && (exists || !inserts || size < 0) ? -1 : exists;
        std::string block(60, '#');
        block.replace(20, text.size() + 1, text.c_str(), text.size() + 1);
        std::string wanted = block;
        char *const from = block.data() + 20, *const dst = below(4) ? from + below(31) - 15 : nullptr;
        if (expected == 1) {
            wanted.replace(size_t((dst ? dst : from) - block.data()), result.size() + 1, result.c_str(),
                           result.size() + 1);
        }
        SCOPED_TRACE(testing::Message() << edit << ": '" << text << "', '" << needle << "', '" << other
                                        << "', size " << size << ", round " << round);
        const char *const find = needle.c_str(), *const with = other.c_str();
        ASSERT_EQ(edit == replace  ? MLIBStrReplace(from, find, with, dst, size)
                  : edit == remove ? MLIBStrDelete(from, find, dst, size)
                  : edit == after  ? MLIBStrInsertAfter(from, find, with, dst, size)
                                   : MLIBStrInsertBefore(from, find, with, dst, size),
                  expected);
        ASSERT_EQ(block, wanted);
        if (expected < 0) {
            ASSERT_EQ(MLIBErrGet(), inserts && size < 0 ? ERR_BAD_PARAMETERS : ERR_NOT_ENOUGH_MEMORY);
        }
    }
}

TEST(Insert, TakesOnlyAPositionOfTheText) {
    Buffer text(8, "abc"), dst(6);
    EXPECT_EQ(MLIBStrInsert(text, text + 3, "de", dst, 6), 1);
    EXPECT_STREQ(dst, "abcde");
    EXPECT_EQ(MLIBStrInsert(text, text, "de", nullptr, 6), 1);
    EXPECT_STREQ(text, "deabc");
    MLIBErrSet(ERR_SUCCESS);
    const Refused calls[] = {MLIBStrInsert(text + 1, text, "x", dst, 100),
                             MLIBStrInsert(text, text + 6, "x", dst, 9),
                             MLIBStrInsert(text, nullptr, "x", dst, 9)};
}

TEST(Hex, DecodingEndsAtWhatIsNoPair) {
    const struct {
        const char *hex, *bytes;
    } cases[] = {
        {"4", ""},      {"x", ""},       {"4a", ""},      {"x4", ""},      {"G0", ""},
        {"x41", "A"},   {"0x41", ""},    {"xx41", ""},    {"41x", "A"},    {"4X41", ""},
        {"41 42", "A"}, {"41x42", "AB"}, {"41424", "AB"}, {"41\xff", "A"}, {"x41x42", "AB"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.hex);
        Buffer dst(strlen(c.hex) / 2 + 1);
        const int length = MLIBStrHexCodeToString(c.hex, dst, 100);
        ASSERT_GE(length, 0);
        EXPECT_EQ(std::string(dst, size_t(length)), c.bytes);
        EXPECT_EQ(dst[length], '\0');
    }
}

// No function takes a null text, nor decodes or encodes over what it reads.
TEST(String, RefusesArgumentsThatItCannotTake) {
    Buffer text("a");
    MLIBErrSet(ERR_SUCCESS);
    const Refused coding[] = {
        MLIBStrEncodeColon(text, text, 9),    MLIBStrEncodeColon(nullptr, text, 9),
        MLIBStrEncodeColon(text, nullptr, 9), MLIBStrDecodeColon(text, text, 9),
        MLIBStrDecodeColon(nullptr, text, 9), MLIBStrDecodeColon(text, nullptr, 9),
    };
    const Refused hex[] = {
        MLIBStringToHexCode(text, text, 9),       MLIBStringToHexCode(nullptr, text, 9),
        MLIBStringToHexCode(text, nullptr, 9),    MLIBStrHexCodeToString(text, text, 9),
        MLIBStrHexCodeToString(nullptr, text, 9), MLIBStrHexCodeToString(text, nullptr, 9),
    };
    char *const none = nullptr;
    const Refused editing[] = {
        MLIBStrReplace(none, "a", "b", none, 9),
        MLIBStrReplace(text, none, "b", none, 9),
        MLIBStrReplace(text, "a", none, none, 9),
        MLIBStrDelete(text, none, none, 9),
    };
    const Refused inserting[] = {
        MLIBStrInsertAfter(none, "a", "b", none, 9),   MLIBStrInsertAfter(text, none, "b", none, 9),
        MLIBStrInsertAfter(text, "a", none, none, 9),  MLIBStrInsertBefore(none, "a", "b", none, 9),
        MLIBStrInsertBefore(text, none, "b", none, 9), MLIBStrInsertBefore(text, "a", none, none, 9),
    };
    const Refused others[] = {MLIBStrTrimSpace(nullptr, text), SzMLIBStrCaseLower(nullptr, 0, text, 9)};
    EXPECT_STREQ(text, "a");
}

}  // namespace
