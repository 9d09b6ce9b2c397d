#include <morvsdk/service.h>

extern "C" int MORVNetService(int, int) noexcept {
    return -1;
}
