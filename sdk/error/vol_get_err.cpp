#include <morvsdk/error.h>

extern "C" int MORVVolGetErr(void) noexcept {
    return volerr;
}
