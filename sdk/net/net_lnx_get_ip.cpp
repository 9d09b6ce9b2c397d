#include <morvsdk/internal/net.h>

#include "net/interface_address.h"

extern "C" int MORVILnxGetIP(const char *name, char *buffer, int size) noexcept {
    if (int code = morv::read_address(&morv::InterfaceSocket::address, name, buffer, size))
        return MORV_FAIL(code, -1);
    return 0;
}
