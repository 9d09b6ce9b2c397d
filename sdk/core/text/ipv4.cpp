#include "core/text/ipv4.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>

#include "core/text/field_text.h"

namespace morv {

namespace {

constexpr size_t kSubnetMost = 64;

// The value of a digit; kBase or more for another character.
template <uint32_t kBase>
inline uint32_t digit_of(char c) noexcept {
    const uint32_t digit = uint32_t(c) - '0';
    if (kBase <= 10 || digit < 10) return digit;
    const uint32_t letter = (uint32_t(c) | 0x20) - 'a';
    return letter < 6 ? 10 + letter : kBase;
}

bool is_space(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The digits at the beginning as a number of at most `most`, which may be 2^31. Answers where they end, null
// when there is none or the number is larger.
template <uint32_t kBase>
inline const char *read_digits(const char *at, const char *end, uint32_t most, uint32_t &number) noexcept {
    const char *const begin = at;
    uint32_t value = 0;
    for (uint32_t digit; at != end && (digit = digit_of<kBase>(*at)) < kBase; ++at) {
        if (value > most / kBase) return nullptr;
        value = value * kBase + digit;
    }
    if (at == begin || value > most) return nullptr;
    number = value;
    return at;
}

// Reads a number in any notation.
[[gnu::noinline]] const char *read_any_number(const char *at, const char *end, int32_t &number) noexcept {
    while (at != end && is_space(*at))
        ++at;
    bool negative = false;
    if (at != end && (*at == '-' || *at == '+')) negative = *at++ == '-';
    const uint32_t most = uint32_t{INT32_MAX} + negative;
    uint32_t value = 0;
    if (at == end || *at != '0') {
        at = read_digits<10>(at, end, most, value);
    } else if (end - at > 1 && (at[1] == 'x' || at[1] == 'X')) {
        // To strtol a "0x" without a digit is the number 0 and an "x". No "x" may follow a number, so that it
        // is refused either way.
        at = read_digits<16>(at + 2, end, most, value);
    } else {
        at = read_digits<8>(at, end, most, value);
    }
    number = int32_t(negative ? 0 - value : value);
    return at;
}

// Reads the number at the beginning. Answers where it ends, null when there is none that fits.
inline const char *read_number(const char *at, const char *end, int32_t &number) noexcept {
    // The most are plain ones.
    if (at != end && *at == '0' && (at + 1 == end || at[1] == '.')) {
        number = 0;
        return at + 1;
    }
    if (at == end || *at < '1' || *at > '9') return read_any_number(at, end, number);
    uint32_t value = 0;
    at = read_digits<10>(at, end, INT32_MAX, value);
    number = int32_t(value);
    return at;
}

}  // namespace

bool parse_number(std::string_view text, int32_t &number) noexcept {
    const char *const end = text.data() + text.size();
    int32_t value;
    const char *const at = read_number(text.data(), end, value);
    if (!at || at != end) return false;
    number = value;
    return true;
}

bool split_dotted(std::string_view text, int32_t (&numbers)[4]) noexcept {
    const char *at = text.data();
    const char *const end = at + text.size();
    for (int i = 0; i < 4; ++i) {
        if (i > 0 && (at == end || *at++ != '.')) return false;
        at = read_number(at, end, numbers[i]);
        if (!at) return false;
    }
    return at == end;
}

bool parse_dotted(std::string_view text, uint32_t &address) noexcept {
    int32_t numbers[4];
    if (text.size() > kDottedMost || !split_dotted(text, numbers)) return false;
    uint32_t value = 0, all = 0;
    for (const int32_t number : numbers) {
        value = value << 8 | uint32_t(number);
        all |= uint32_t(number);
    }
    if (all > 255) return false;
    address = value;
    return true;
}

bool split_subnet(std::string_view text, uint32_t &address, std::string_view &behind_slash) noexcept {
    const size_t slash = text.find('/');
    uint32_t value;
    if (text.size() > kSubnetMost || slash == text.npos || !parse_dotted(text.substr(0, slash), value))
        return false;
    for (uint32_t rest = value; rest != 0; rest >>= 8) {
        if ((rest & 255) == 255) return false;
    }
    address = value;
    behind_slash = text.substr(slash + 1);
    return true;
}

char *write_octet(char *to, uint32_t number) noexcept {
    if (number >= 100) *to++ = char('0' + number / 100);
    if (number >= 10) *to++ = char('0' + number / 10 % 10);
    *to++ = char('0' + number % 10);
    *to = '\0';
    return to;
}

char *write_dotted(char *to, uint32_t address) noexcept {
    for (int shift = 24; shift > 0; shift -= 8) {
        to = write_octet(to, address >> shift & 255);
        *to++ = '.';
    }
    return write_octet(to, address & 255);
}

void rewrite_dotted(std::span<char> text, uint32_t address) noexcept {
    size_t length = sizeof "0.0.0.0" - 1;
    for (int shift = 0; shift < 32; shift += 8) {
        const uint32_t octet = address >> shift & 255;
        length += size_t{octet > 9} + size_t{octet > 99};
    }
    // No other form is as short.
    if (length != text.size()) write_dotted(text.data(), address);
}

bool parse_ipv4(std::string_view text, uint32_t &address) noexcept {
    char word[INET6_ADDRSTRLEN];
    if (!copy_text(word, text)) return false;
    in_addr plain;
    if (inet_pton(AF_INET, word, &plain) == 1) {
        address = plain.s_addr;
        return true;
    }
    in6_addr wide;
    if (inet_pton(AF_INET6, word, &wide) != 1 || !IN6_IS_ADDR_V4MAPPED(&wide)) return false;
    memcpy(&address, wide.s6_addr + 12, sizeof address);
    return true;
}

Ipv4Text::Ipv4Text(uint32_t address) noexcept {
    write_dotted(text, ntohl(address));
}

}  // namespace morv
