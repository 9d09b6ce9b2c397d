#include <morvsdk/file.h>

#include <vector>

#include "core/account/group_members.h"
#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/account/user_mirror.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVGroupListMember(const char *name, MLIBSZLIST **ppList) noexcept {
    if (!name || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    std::string key;
    if (const int code = no_throw([&] { return upper_name(name, key) ? 0 : int{ERR_NO_SUCH_GROUP}; }))
        return MORV_FAIL(code, -1);
    // The lock that listing the users takes comes before the groups' own: both are taken at once.
    const uint32_t locks = key == kEverybody ? MORV_LOCK_PW | MORV_LOCK_GR : MORV_LOCK_GR;
    const int code = read_accounts(group_mirror_kind, locks, [&](Mirror &mirror) {
        std::vector<std::string> members;
        MirrorPtr users;
        int failed = key == kEverybody ? open_mirror(user_mirror_kind, Extent::kFirst, &users) : 0;
        if (failed == 0) failed = read_members(users.get(), mirror, key, members);
        if (failed) return failed;
        for (const std::string &member : members) {
            if (MLIBSzListPush(ppList, member.c_str()) < 0) return MLIBErrGet();
        }
        count = static_cast<int>(members.size());
        return 0;
    });
    return code ? MORV_FAIL(code, -1) : count;
}
