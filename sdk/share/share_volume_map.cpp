#include <morvsdk/hash.h>

#include "core/account/share_list.h"
#include "core/base/fail.h"
#include "core/system/mounts.h"

using namespace morv;

static int map_volumes(MLIBSZHASH **hash, int *count) {
    Mounts mounts;
    std::string shares;  // name and path in turn, each with a NUL
    if (const int code = mounts.load()) return code;
    const int code = read_shares([&](Mirror &mirror) {
        shares.clear();
        return walk_shares(mirror, [&](const PackedShare &share) {
            shares.append(share.name()).append(1, '\0').append(share.path()).push_back('\0');
            return 0;
        });
    });
    if (code) return code;
    for (size_t at = 0; at < shares.size(); ++*count) {
        const char *const name = shares.c_str() + at;
        const size_t path = shares.find('\0', at) + 1;
        at = shares.find('\0', path) + 1;
        const std::string volume(mounts.find(shares.c_str() + path));
        if (MLIBSzHashSetValue(hash, name, volume.c_str()) < 0) return ERR_OUT_OF_MEMORY;
    }
    return 0;
}

extern "C" int MORVShareVolumeMap(MLIBSZHASH **ppHash) noexcept {
    if (!ppHash || !*ppHash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    const int code = no_throw([&] { return map_volumes(ppHash, &count); });
    return code ? MORV_FAIL(code, -1) : count;
}
