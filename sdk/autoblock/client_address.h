// The address of a client.
#pragma once

#include <morvsdk/net.h>
#include <stdint.h>

#include "core/text/ipv4.h"

namespace morv {

// Answers false with an error state: a name is looked up, which sets its own. Empty slots have the address
// 0.0.0.0, so that it is none.
bool address_of_client(const char *client, uint32_t &address) noexcept;

// A dotted address that is not 0.0.0.0.
inline bool parse_client(const char *text, uint32_t &address) noexcept {
    return parse_ipv4(text, address) && address != 0;
}

}  // namespace morv
