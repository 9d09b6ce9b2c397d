#include <morvsdk/error.h>

extern "C" int MLIBErrGet(void) noexcept {
    return morverrno;
}
