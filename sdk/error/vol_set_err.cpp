#include <morvsdk/error.h>

extern "C" void MORVVolISetErr(int code) noexcept {
    volerr = code;
}
