#include "sysbkp/block_info.h"

extern "C" const char *MORVSysbkpName(int id) noexcept {
    const morv::BlockInfo *const info = morv::block_info(id);
    return info ? info->name : nullptr;
}
