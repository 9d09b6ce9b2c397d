#include <morvsdk/service.h>

extern "C" int MORVNetServiceLog(int, int) noexcept {
    return -1;
}
