#include <limits.h>
#include <morvsdk/share.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/text/case.h"
#include "core/text/list_guard.h"
#include "share/recycle.h"

using namespace morv;

namespace {

// Answers an error code; -1 for a call that has set its own.
int clean_all() {
    ListPtr names(PslMLIBSzListAlloc(1024));
    if (!names) return -1;
    MLIBSZLIST *list = names.release();
    const int found = MORVShareEnum(&list, 0);
    names.reset(list);
    if (found < 0) return -1;

    std::vector<std::string> folders, homes = {SysPath("/var/services/homes").c_str()};
    for (int i = 0; i < names->nItem; ++i) {
        char path[PATH_MAX];
        // One that was removed meanwhile has no bin to empty.
        if (MORVSharePathGet(names->pszItem[i], path, int(sizeof path)) != 0) continue;
        folders.emplace_back(SysPath(path).c_str());
        if (ascii_equal(names->pszItem[i], "homes")) homes.push_back(folders.back());
    }
    return start_cleaning(folders, homes);
}

}  // namespace

extern "C" int MORVShareRecycleClean(void) noexcept {
    const int code = no_throw(clean_all);
    if (code > 0) return MORV_FAIL(code, -1);
    return code;
}
