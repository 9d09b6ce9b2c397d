#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_block.h"

extern "C" MLIBSZLIST *PslMLIBSzListAlloc(int size) noexcept {
    MLIBSZLIST *const list = morv::list_make(size);
    if (!list) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    return list;
}
