#include <morvsdk/file.h>
#include <morvsdk/list.h>
#include <unistd.h>

#include "autoblock/settings.h"
#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/sys_path.h"
#include "core/text/list_guard.h"

using namespace morv;

extern "C" int MORVAutoBlockConfGet(MORV_AUTOBLOCK_CONF *conf) noexcept {
    if (!conf) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    MLIBSZLIST *keys = PslMLIBSzListAlloc(512);
    bool good = keys != nullptr;
    for (const char *key : {kAttemptsKey, kAttemptMinKey, kExpiredDayKey, kNotifyKey})
        good = good && MLIBSzListPush(&keys, key) >= 0;
    const ListPtr wanted(keys);
    HashPtr values(PshMLIBSzHashAlloc(512));
    if (!good || !values) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);

    const SysPath path(kSettingsFile);
    FamilyLock lock(MORV_LOCK_MORVINFO | MORV_LOCK_READ);
    if (!lock.is_held()) {
        MORV_LOG(LOG_DEBUG, "ErrMLIBFileLock() failed!! file=[%s], morverr=[0x%04X]", kSettingsFile,
                 unsigned(MLIBErrGet()));
        return -1;
    }
    int result = 0;
    if (access(path.c_str(), F_OK) == 0) {
        MLIBSZHASH *hash = values.release();
        const int pairs = MLIBFileGetKeys(path.c_str(), wanted.get(), &hash, "=");
        values.reset(hash);
        // A failure answers 1, whatever there is.
        if (pairs != MLIBSzHashGetLength(hash)) result = -1;
    }
    lock.release();
    if (result != 0) return -1;
    *conf = make_conf([&](const char *key) {
        const char *const value = SzMLIBSzHashGetValue(values.get(), key);
        return std::string_view(value ? value : "");
    });
    return 0;
}
