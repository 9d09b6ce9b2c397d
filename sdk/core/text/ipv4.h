// IPv4 addresses and netmasks as texts. Addresses are numbers in host byte order, but where network order is
// named.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>
#include <span>
#include <string_view>

namespace morv {

// The most characters of a dotted text.
inline constexpr size_t kDottedMost = 31;

// Reads a text that is one number, as strtol takes it in base 0 in the "C" locale: white space, a sign,
// digits, which are octal behind "0" and hexadecimal behind "0x". False, and `number` is as it was, when
// there is no digit, something follows, or it is beyond int32_t.
bool parse_number(std::string_view text, int32_t &number) noexcept;

// Takes apart four such numbers with a "." between each two. False when the text is anything else; what then
// is in `numbers` means nothing.
bool split_dotted(std::string_view text, int32_t (&numbers)[4]) noexcept;

// The address that a dotted text of at most kDottedMost characters stands for. False, and `address` is as it
// was, when it has another form, or a number that is not 0 to 255.
bool parse_dotted(std::string_view text, uint32_t &address) noexcept;

// Takes a text of at most 64 characters apart at its first "/". False, and the rest is as it was, when it has
// none, or what stands before it is no dotted text with numbers of 0 to 254.
bool split_subnet(std::string_view text, uint32_t &address, std::string_view &behind_slash) noexcept;

// Write a number of 0 to 255, or an address like "192.0.2.1", and a zero. Answer where the zero is.
char *write_octet(char *to, uint32_t number) noexcept;
char *write_dotted(char *to, uint32_t address) noexcept;

// Brings a text that stands for an address into normal form, which never is longer.
void rewrite_dotted(std::span<char> text, uint32_t address) noexcept;

// The prefix length of a netmask, 1 to 32; 0 when it is none.
inline int prefix_of(uint32_t mask) noexcept {
    const uint32_t host = ~mask;
    return (host & (host + 1)) == 0 ? std::countl_one(mask) : 0;
}

// The netmask of a prefix length, 1 to 32.
inline uint32_t mask_of(int prefix) noexcept {
    return ~uint32_t{0} << (32 - prefix);
}

// Reads "192.0.2.1" as inet_pton does, or the same in its IPv6 form "::ffff:192.0.2.1". `address` is in
// network byte order.
bool parse_ipv4(std::string_view text, uint32_t &address) noexcept;

// The text of an address in network byte order.
struct Ipv4Text {
    explicit Ipv4Text(uint32_t address) noexcept;
    char text[16];
};

}  // namespace morv
