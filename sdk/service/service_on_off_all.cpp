#include <morvsdk/service.h>

extern "C" int MORVServiceOnOffALL(int action) noexcept {
    return MORVNetService(-1, action);
}
