#include <limits.h>
#include <morvsdk/internal/group.h>
#include <string.h>

#include "core/account/group_change.h"
#include "core/account/line_record.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVGroupDBPackFromUnix(const struct group *group, char **ppBuffer, int *pSize) noexcept {
    if (!group || !group->gr_name || strpbrk(group->gr_name, ":\n") || !ppBuffer || !pSize || *pSize < 0)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int length = 0;
    const int code = no_throw([&] {
        std::string members;
        for (char **member = group->gr_mem; member && *member; ++member)
            members.append(*member).push_back(',');
        std::string line;
        if (const int failed = pack_group(group->gr_name, group->gr_gid, members, line)) return failed;
        void *block = *ppBuffer;
        const int failed = lend_buffer(&block, pSize, line.size() + 1);
        if (failed) return failed;
        *ppBuffer = static_cast<char *>(block);
        memcpy(block, line.c_str(), line.size() + 1);
        length = static_cast<int>(line.size()) + 1;
        return 0;
    });
    return code ? MORV_FAIL(code, -1) : length;
}
