#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/file/replacement_file.h"

extern "C" int MORVFileDurabilitySet(int durability) noexcept {
    if (durability != MORV_ATOMIC && durability != MORV_DURABLE) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return std::exchange(morv::file_durability, durability);
}
