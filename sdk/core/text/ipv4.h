// IPv4 addresses as texts.
#pragma once

#include <stdint.h>

#include <string_view>

namespace morv {

// Reads "192.0.2.1", or the same in its IPv6 form "::ffff:192.0.2.1". `address` is in network byte order.
bool parse_ipv4(std::string_view text, uint32_t &address) noexcept;

struct Ipv4Text {
    explicit Ipv4Text(uint32_t address) noexcept;
    char text[16];
};

}  // namespace morv
