// One address of an interface, as a text.
#pragma once

#include <morvsdk/errcodes.h>

#include "core/base/fail.h"
#include "core/system/interfaces.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"

namespace morv {

// `which` is the question to the kernel. Answers an error code.
inline int read_address(bool (InterfaceSocket::*which)(const char *, uint32_t &) const noexcept,
                        const char *name, char *buffer, int size) noexcept {
    if (!name || !*name || !buffer || size < 1) return ERR_BAD_PARAMETERS;
    InterfaceSocket kernel;
    if (!kernel.open()) return ERR_OPEN_FAILED;
    uint32_t address;
    if (!(kernel.*which)(name, address)) return ERR_INVALID_NETNAME;
    char text[16];
    write_dotted(text, address);
    return copy_text({buffer, size_t(size)}, text) ? 0 : ERR_NOT_ENOUGH_MEMORY;
}

}  // namespace morv
