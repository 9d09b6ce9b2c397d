#include <morvsdk/file.h>

#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVGroupGet(const char *name, MORVGROUP **ppGroup) noexcept {
    if (!name || !ppGroup) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = read_accounts(group_mirror_kind, MORV_LOCK_GR, [&](Mirror &mirror) {
        std::string key;
        std::string line;
        if (!upper_name(name, key)) return int{ERR_NO_SUCH_GROUP};
        const int failed = read_group_line(mirror, key, &line);
        return failed ? failed : make_group(line, ppGroup);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
