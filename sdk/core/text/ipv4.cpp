#include "core/text/ipv4.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>

#include <algorithm>
#include <array>

#include "core/text/field_text.h"

namespace morv {

namespace {

constexpr size_t kSubnetMost = 64;

constexpr uint8_t kNoDigit = 255;

constexpr std::array<uint8_t, 256> kDigits = [] {
    std::array<uint8_t, 256> digits{};
    digits.fill(kNoDigit);
    for (uint8_t i = 0; i < 10; ++i)
        digits[size_t{'0'} + i] = i;
    for (uint8_t i = 0; i < 6; ++i)
        digits[size_t{'a'} + i] = digits[size_t{'A'} + i] = uint8_t(10 + i);
    return digits;
}();

uint8_t digit_of(char c) noexcept {
    return kDigits[static_cast<unsigned char>(c)];
}

bool is_space(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Reads the number at the beginning. Answers where it ends, null when there is none that fits.
const char *read_number(const char *at, const char *end, int32_t &number) noexcept {
    while (at != end && is_space(*at))
        ++at;
    bool negative = false;
    if (at != end && (*at == '-' || *at == '+')) negative = *at++ == '-';
    unsigned base = 10;
    if (at != end && *at == '0') {
        base = 8;
        // A "0x" that no digit follows is the number 0 and an "x".
        if (end - at > 2 && (at[1] == 'x' || at[1] == 'X') && digit_of(at[2]) < 16) {
            base = 16;
            at += 2;
        }
    }
    const char *const digits = at;
    const int64_t most = int64_t{INT32_MAX} + negative;
    int64_t value = 0;
    for (; at != end && digit_of(*at) < base; ++at) {
        value = value * base + digit_of(*at);
        if (value > most) return nullptr;
    }
    if (at == digits) return nullptr;
    number = int32_t(negative ? -value : value);
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
    int32_t found[4];
    for (int i = 0; i < 4; ++i) {
        if (i > 0 && (at == end || *at++ != '.')) return false;
        at = read_number(at, end, found[i]);
        if (!at) return false;
    }
    if (at != end) return false;
    std::copy(found, found + 4, numbers);
    return true;
}

bool parse_dotted(std::string_view text, uint32_t &address) noexcept {
    int32_t numbers[4];
    if (text.size() > kDottedMost || !split_dotted(text, numbers)) return false;
    uint32_t value = 0;
    for (const int32_t number : numbers) {
        if (number < 0 || number > 255) return false;
        value = value << 8 | uint32_t(number);
    }
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
