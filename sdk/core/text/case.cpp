#include "core/text/case.h"

#include <string.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace morv {

namespace {

constexpr UChar32 invalid_point = -1;
constexpr int most_points = 3;  // that one code point becomes

unsigned char ascii_upper(unsigned char byte) noexcept {
    return byte >= 'a' && byte <= 'z' ? static_cast<unsigned char>(byte - 'a' + 'A') : byte;
}

// The ranges that hold every code point whose full upper-casing is more than one code point. Others in them
// only lose the short way.
bool may_become_many(UChar32 c) noexcept {
    return c == 0xDF || c == 0x149 || c == 0x1F0 || c == 0x390 || c == 0x3B0 || c == 0x587 ||
           (c >= 0x1E96 && c <= 0x1E9A) || (c >= 0x1F50 && c <= 0x1FFF) || (c >= 0xFB00 && c <= 0xFB17);
}

// Stores the upper-casing of `c` last code point first. Answers how many there are.
int upper_reversed(UChar32 c, UChar32 (&points)[most_points]) noexcept {
    UChar source[2];
    int32_t source_length = 0;
    U16_APPEND_UNSAFE(source, source_length, c);
    UChar upper[2 * most_points];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = u_strToUpper(upper, 2 * most_points, source, source_length, "", &error);
    int count = 0;
    if (U_SUCCESS(error)) {
        for (int32_t i = length; i > 0 && count < most_points; ++count)
            U16_PREV_UNSAFE(upper, i, points[count]);
    }
    if (count == 0) points[count++] = u_toupper(c);
    return count;
}

// Reads a text as the code points of its upper-casing.
class UpperReader {
  public:
    explicit UpperReader(const char *text) noexcept : at_(reinterpret_cast<const uint8_t *>(text)) {}

    // The next code point; 0 at the end, again and again; invalid_point for what is not UTF-8.
    UChar32 next() noexcept {
        if (pending_ > 0) return points_[--pending_];
        if (*at_ >= 0x80) return next_wide();
        const uint8_t byte = *at_;
        at_ += byte != 0;
        return ascii_upper(byte);
    }

    const char *rest() const noexcept { return reinterpret_cast<const char *>(at_); }

  private:
    UChar32 next_wide() noexcept {
        int32_t size = 0;
        UChar32 c;
        U8_NEXT(at_, size, -1, c);
        if (c < 0) return invalid_point;
        at_ += size;
        if (!may_become_many(c)) return u_toupper(c);
        pending_ = upper_reversed(c, points_);
        return points_[--pending_];
    }

    const uint8_t *at_;
    int pending_ = 0;
    UChar32 points_[most_points];
};

}  // namespace

bool utf8_valid(const char *text) noexcept {
    const auto *at = reinterpret_cast<const uint8_t *>(text);
    for (;;) {
        if (*at == 0) return true;
        if (*at < 0x80) {
            ++at;
            continue;
        }
        int32_t size = 0;
        UChar32 c;
        U8_NEXT(at, size, -1, c);
        if (c < 0) return false;
        at += size;
    }
}

int64_t upper_length(const char *text) noexcept {
    const char *ascii_end = text;
    while (static_cast<unsigned char>(*ascii_end) - 1u < 0x7F)
        ++ascii_end;
    int64_t length = ascii_end - text;
    UpperReader reader(ascii_end);
    while (const UChar32 c = reader.next()) {
        if (c == invalid_point) return -1;
        length += U8_LENGTH(c);
    }
    return length;
}

char *upper_write(const char *text, char *to) noexcept {
    // Most texts are ASCII from end to end.
    while (static_cast<unsigned char>(*text) - 1u < 0x7F)
        *to++ = static_cast<char>(ascii_upper(static_cast<unsigned char>(*text++)));
    UpperReader reader(text);
    auto *at = reinterpret_cast<uint8_t *>(to);
    while (const UChar32 c = reader.next()) {
        if (c < 0x80) {
            *at++ = static_cast<uint8_t>(c);
        } else {
            int32_t size = 0;
            U8_APPEND_UNSAFE(at, size, c);
            at += size;
        }
    }
    *at = 0;
    return reinterpret_cast<char *>(at);
}

int case_compare(const char *a, const char *b) noexcept {
    UpperReader reader_a(a);
    UpperReader reader_b(b);
    for (;;) {
        const UChar32 x = reader_a.next();
        const UChar32 y = reader_b.next();
        if (x == invalid_point || y == invalid_point) return case_invalid;
        if (x != y) {
            if (!utf8_valid(reader_a.rest()) || !utf8_valid(reader_b.rest())) return case_invalid;
            return x < y ? -1 : 1;
        }
        if (x == 0) return 0;
    }
}

int case_compare_all(const char *a, const char *b) noexcept {
    const int order = case_compare(a, b);
    if (order != case_invalid) return order;
    const bool valid_a = utf8_valid(a);
    const bool valid_b = utf8_valid(b);
    if (valid_a != valid_b) return valid_a ? -1 : 1;
    return strcmp(a, b);
}

bool ascii_equal(std::string_view a, std::string_view b) noexcept {
    const auto upper = [](char c) { return ascii_upper(static_cast<unsigned char>(c)); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return upper(x) == upper(y); });
}

bool case_equal(const char *a, const char *b) noexcept {
    UpperReader reader_a(a);
    UpperReader reader_b(b);
    for (;;) {
        const UChar32 x = reader_a.next();
        if (x != reader_b.next() || x == invalid_point) return false;
        if (x == 0) return true;
    }
}

bool case_hash(const char *text, uint64_t *hash) noexcept {
    UpperReader reader(text);
    uint64_t mixed = 0;
    while (const UChar32 c = reader.next()) {
        if (c == invalid_point) return false;
        mixed = (mixed ^ static_cast<uint64_t>(c)) * 0x9E3779B97F4A7C15u;
        mixed ^= mixed >> 32;
    }
    *hash = mixed;
    return true;
}

}  // namespace morv
