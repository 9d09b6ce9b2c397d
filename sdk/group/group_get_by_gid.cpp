#include <morvsdk/file.h>

#include "core/account/group_mirror.h"
#include "core/account/reading.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVGroupGetByGID(uint32_t gid, MORVGROUP **ppGroup) noexcept {
    if (!ppGroup) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = read_accounts(group_mirror_kind, MORV_LOCK_GR, [&](Mirror &mirror) {
        std::string key;
        std::string line;
        if (const int failed = find_gid(mirror, gid, key)) return failed;
        const int failed = read_group_line(mirror, key, &line);
        return failed ? failed : make_group(line, ppGroup);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
