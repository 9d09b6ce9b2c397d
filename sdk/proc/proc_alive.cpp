#include <morvsdk/proc.h>

#include "core/system/process.h"

extern "C" int BlMLIBProcAlive(int pid) noexcept {
    return morv::is_running(pid) ? 1 : 0;
}
