#include <stdlib.h>

#include "core/base/fail.h"
#include "hash/hash_block.h"

extern "C" MLIBSZHASH *PshMLIBICheckSpace(MLIBSZHASH *hash, int needed) noexcept {
    if (!hash || needed < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    MLIBSZHASH *const room = morv::with_room(hash, needed);
    if (!room) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    if (room != hash) free(hash);
    return room;
}
