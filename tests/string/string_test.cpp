#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/string.h>
#include <morvsdk/string.h>
#include <string.h>

#include <string>
#include <vector>

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

TEST(Colon, IsEscapedWithinTheSizeThatExcludesTheTerminator) {
    const struct {
        const char *plain, *escaped;
    } cases[] = {
        {"", ""},      {"plain,text", "plain,text"}, {"a:b;c", "a;,b;;c"}, {":::", ";,;,;,"},
        {";,", ";;,"}, {"\xc3\xa9:", "\xc3\xa9;,"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.plain);
        const int length = int(strlen(c.escaped));
        Buffer escaped(size_t(length) + 1);
        EXPECT_EQ(MLIBStrEncodeColon(c.plain, escaped, length), length);
        EXPECT_STREQ(escaped, c.escaped);
        EXPECT_EQ(MLIBStrEncodeColon(c.plain, escaped, length - 1), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);

        Buffer plain(size_t(length) + 1);
        EXPECT_EQ(MLIBStrDecodeColon(c.escaped, plain, length), int(strlen(c.plain)));
        EXPECT_STREQ(plain, c.plain);
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(MLIBStrDecodeColon(c.escaped, plain, length - 1), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
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
    } cases[] = {{"", ""},
                 {" \t\r\n ", ""},
                 {"a", "a"},
                 {" \ta b\r\n", "a b"},
                 {"  \"a b\"  ", "a b"},
                 {"\" a \"", " a "},
                 {"\"", "\""},
                 {" \" ", "\""},
                 {"\"\"", ""},
                 {"\"\"a\"\"", "\"a\""},
                 {"\"a", "\"a"},
                 {"a\"b\"", "a\"b\""},
                 {"\v\fa\xa0", "\v\fa\xa0"}};
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

// Replacing and inserting, each into a buffer, in place, and into every position that overlaps the text.
struct Edit {
    const char *text, *needle, *other, *result;
    int status;
};
using EditFunction = int (*)(char *, const char *, const char *, char *, int);

void check_edits(EditFunction edit, int beyond_length, const std::vector<Edit> &cases) {
    for (const Edit &c : cases) {
        SCOPED_TRACE(std::string(c.text) + " / " + c.needle + " / " + c.other);
        const size_t length = strlen(c.result), room = std::max(length, strlen(c.text)) + 1;
        const int size = int(length) + beyond_length;
        {
            Buffer text(c.text), dst(length + 1);
            EXPECT_EQ(edit(text, c.needle, c.other, dst, size), c.status);
            EXPECT_EQ(std::string(dst, c.status ? length + 1 : 1),
                      c.status ? std::string(c.result) + '\0' : "#");
            EXPECT_STREQ(text, c.text);
        }
        {
            Buffer text(room, c.text);
            EXPECT_EQ(edit(text, c.needle, c.other, nullptr, size), c.status);
            EXPECT_STREQ(text, c.result);
        }
        if (c.status == 0) continue;
        Buffer text(room, c.text), dst(length + 1);
        EXPECT_EQ(edit(text, c.needle, c.other, dst, size - 1), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(std::string(dst, 1), "#") << "refused before anything is written";
        EXPECT_EQ(edit(text, c.needle, c.other, dst, -1), -1);
        for (int shift = -int(room); shift <= int(room); ++shift) {
            Buffer shared(3 * room);
            char *const from = shared + room;
            memcpy(from, c.text, strlen(c.text) + 1);
            EXPECT_EQ(edit(from, c.needle, c.other, from + shift, size), 1);
            EXPECT_STREQ(from + shift, c.result) << shift;
        }
    }
}

TEST(Replace, ChangesTheFirstOccurrence) {
    check_edits(MLIBStrReplace, 0,
                {{"one two one", "one", "three", "three two one", 1},
                 {"one two one", "two", "2", "one 2 one", 1},
                 {"one two", "two", "", "one ", 1},
                 {"one", "one", "", "", 1},
                 {"aaa", "aa", "b", "ba", 1},
                 {"abc", "abc", "xyz", "xyz", 1},
                 {"abc", "", "x", "xabc", 1},
                 {"abc", "d", "x", "abc", 0},
                 {"", "d", "x", "", 0}});
}

TEST(Replace, DeletesTheFirstOccurrence) {
    Buffer text("a,b,c"), dst(5);
    EXPECT_EQ(MLIBStrDelete(text, ",", dst, 4), 1);
    EXPECT_STREQ(dst, "ab,c");
    EXPECT_EQ(MLIBStrDelete(text, ",", nullptr, 3), -1);
    EXPECT_EQ(MLIBStrDelete(text, ",", nullptr, 4), 1);
    EXPECT_EQ(MLIBStrDelete(text, "x", nullptr, 4), 0);
    EXPECT_STREQ(text, "ab,c");
}

TEST(Insert, PutsTextBesideTheFirstOccurrence) {
    check_edits(MLIBStrInsertAfter, 1,
                {{"one two one", "one", ",", "one, two one", 1},
                 {"one", "one", " two", "one two", 1},
                 {"one", "", "x", "xone", 1},
                 {"one", "n", "", "one", 1},
                 {"", "", "x", "x", 1},
                 {"one", "two", "x", "one", 0}});
    check_edits(MLIBStrInsertBefore, 1,
                {{"one two two", "two", "1.5 ", "one 1.5 two two", 1},
                 {"one", "one", "zero ", "zero one", 1},
                 {"one", "two", "x", "one", 0}});
}

TEST(Insert, TakesOnlyAPositionOfTheText) {
    Buffer text(8, "abc"), dst(6);
    EXPECT_EQ(MLIBStrInsert(text, text + 3, "de", dst, 6), 1);
    EXPECT_STREQ(dst, "abcde");
    EXPECT_EQ(MLIBStrInsert(text, text, "de", nullptr, 6), 1);
    EXPECT_STREQ(text, "deabc");
    MLIBErrSet(ERR_SUCCESS);
    const Refused calls[] = {MLIBStrInsert(text + 1, text, "x", dst, 100),
                             MLIBStrInsert(text, text + 6, "x", dst, 100),
                             MLIBStrInsert(text, nullptr, "x", dst, 100)};
}

TEST(Hex, GoesBothWays) {
    const struct {
        const char *text, *hex;
    } cases[] = {{"", ""}, {"A", "41"}, {"az\x7f", "617A7F"}, {"\xff\x80", "FF80"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.hex);
        const int length = int(strlen(c.text));
        Buffer hex(2 * strlen(c.text) + 1), text(strlen(c.text) + 1);
        EXPECT_EQ(MLIBStringToHexCode(c.text, hex, length), 2 * length);
        EXPECT_STREQ(hex, c.hex);
        EXPECT_EQ(MLIBStringToHexCode(c.text, hex, length - 1), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
        EXPECT_EQ(MLIBStrHexCodeToString(c.hex, text, 2 * length), length);
        EXPECT_STREQ(text, c.text);
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(MLIBStrHexCodeToString(c.hex, text, 2 * length - 1), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    }
}

TEST(Hex, DecodingEndsAtWhatIsNoPair) {
    const struct {
        const char *hex;
        std::string bytes;
    } cases[] = {{"x41", "A"},
                 {"x41x42", "AB"},
                 {"41x42", "AB"},
                 {"0x41", ""},
                 {"4a", ""},
                 {"4", ""},
                 {"41424", "AB"},
                 {"41 42", "A"},
                 {"xx41", ""},
                 {"x", ""},
                 {"x4", ""},
                 {"41x", "A"},
                 {"0041", std::string("\0A", 2)},
                 {"4X41", ""},
                 {"G0", ""},
                 {"41\xff", "A"}};
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
    const Refused editing[] = {
        MLIBStrReplace(nullptr, "a", "b", nullptr, 9),
        MLIBStrReplace(text, nullptr, "b", nullptr, 9),
        MLIBStrReplace(text, "a", nullptr, nullptr, 9),
        MLIBStrDelete(text, nullptr, nullptr, 9),
        MLIBStrInsertAfter(nullptr, "a", "b", nullptr, 9),
        MLIBStrInsertAfter(text, nullptr, "b", nullptr, 9),
        MLIBStrInsertAfter(text, "a", nullptr, nullptr, 9),
        MLIBStrInsertBefore(nullptr, "a", "b", nullptr, 9),
        MLIBStrInsertBefore(text, nullptr, "b", nullptr, 9),
        MLIBStrInsertBefore(text, "a", nullptr, nullptr, 9),
        MLIBStrInsertAfter(text, "a", "b", nullptr, -1),
        MLIBStrInsertBefore(text, "a", "b", nullptr, -1),
    };
    const Refused others[] = {MLIBStrTrimSpace(nullptr, text), SzMLIBStrCaseLower(nullptr, 0, text, 9)};
    EXPECT_STREQ(text, "a");
}

}  // namespace
