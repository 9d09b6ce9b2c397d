// The kernel's routes.
#pragma once

#include <stdint.h>

namespace morv {

// The gateway of the default route with the smallest metric, in host byte order; 0 when there is none.
// Answers 0, ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY.
int find_default_gateway(uint32_t &gateway) noexcept;

// Makes it the default route in place of the one that there is. Answers 0 or the code of what failed; a
// former
// one with a gateway is then put back: a way out that is not the wanted one is better than none.
int set_default_route(const char *gateway) noexcept;
int remove_default_route() noexcept;

}  // namespace morv
