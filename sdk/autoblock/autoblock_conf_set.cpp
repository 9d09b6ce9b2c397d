#include <morvsdk/file.h>
#include <stdio.h>

#include "autoblock/settings.h"
#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/sys_path.h"
#include "core/text/list_guard.h"

using namespace morv;

static bool set_number(MLIBSZHASH **hash, const char *key, int number) noexcept {
    char text[16];
    snprintf(text, sizeof text, "%d", number);
    return MLIBSzHashSetValue(hash, key, text) >= 0;
}

extern "C" int MORVAutoBlockConfSet(const MORV_AUTOBLOCK_CONF *conf) noexcept {
    if (!conf || conf->attempts < 0 || conf->attemptMin < 0 || conf->expiredDay < 0)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    MLIBSZHASH *hash = PshMLIBSzHashAlloc(512);
    const bool good = hash && set_number(&hash, kAttemptsKey, conf->attempts) &&
                      set_number(&hash, kAttemptMinKey, conf->attemptMin) &&
                      set_number(&hash, kExpiredDayKey, conf->expiredDay) &&
                      MLIBSzHashSetValue(&hash, kNotifyKey, conf->notify ? "yes" : "no") >= 0;
    const HashPtr values(hash);
    if (!good) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);

    FamilyLock lock(MORV_LOCK_MORVINFO | MORV_LOCK_WRITE);
    if (!lock.is_held()) {
        MORV_LOG(LOG_ERR, "ErrMLIBFileLock() failed!! file=[%s], morverr=[0x%04X]", kSettingsFile,
                 unsigned(MLIBErrGet()));
        return -1;
    }
    const int changed = MLIBFileSetKeys(SysPath(kSettingsFile).c_str(), values.get(), nullptr, "%s=\"%s\"\n");
    lock.release();
    return changed < 0 ? -1 : 0;
}
