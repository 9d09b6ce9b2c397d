#include <morvsdk/group.h>

#include <iterator>

#include "core/account/record.h"
#include "core/base/fail.h"

extern "C" int MORVGroupAlloc2(MORVGROUP **ppGroup, const char *name, const char *password, uint32_t gid,
                               const char *members) noexcept {
    if (!ppGroup || !name || !*name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const char *const texts[] = {name, password ? password : "x", members};
    char *copies[std::size(texts)];
    void *block = *ppGroup;
    int32_t size = block ? (*ppGroup)->allocated : 0;
    if (int code = morv::make_record(&block, &size, sizeof(MORVGROUP), texts, copies)) {
        return MORV_FAIL(code, -1);
    }
    auto *const group = static_cast<MORVGROUP *>(block);
    group->szName = copies[0];
    group->szPassword = copies[1];
    group->gid = gid;
    group->szMembers = copies[2];
    group->allocated = size;
    *ppGroup = group;
    return 0;
}
