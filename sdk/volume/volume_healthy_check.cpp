#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/device_name.h"

using namespace morv;

namespace {

constexpr int32_t kLastOfAppliance = 100;  // of the arrays that are in no enclosure
constexpr int32_t kLastInternal = 99;

int32_t flags_of_group(const LVM_VG_INFO &group) noexcept {
    int32_t flags = 0;
    for (const LVM_PV *volume = group.pPvs; volume; volume = volume->pNext) {
        int32_t number;
        if (volume->status != LVM_PV_MISSING || !array_number(volume->szPath, number)) continue;
        flags |= number <= kLastOfAppliance ? VOLUME_PV_MISSING : VOLUME_PV_MISSING_ENCLOSURE;
    }
    return flags;
}

// The system arrays, read at the first need.
class SystemArrays {
  public:
    SystemArrays() noexcept = default;
    ~SystemArrays() { RAIDSystemFree(&arrays_); }
    SystemArrays(const SystemArrays &) = delete;
    SystemArrays &operator=(const SystemArrays &) = delete;

    // Whether a member of the array is known to be no healthy member of both.
    bool miss_member_of(const RAID_INFO &raid) noexcept {
        if (state_ == 0) state_ = RAIDSystemGet(&arrays_) == 0 ? 1 : -1;
        if (state_ < 0) return false;
        for (const RAID_DISK *disk = raid.pDisks; disk; disk = disk->pNext) {
            int repair = 0;
            const int found = RAIDSystemDiskStatusGet(&arrays_, disk->szPath, &repair);
            if (found < 0) return false;
            if (found == 0 || repair != 0) return true;
        }
        return false;
    }

  private:
    RAID_SYSTEM arrays_ = {};
    int state_ = 0;  // 1 when they were read, -1 when they could not be
};

}  // namespace

extern "C" int VolumeHealthyCheck(const VOLUME_INFO *info, int32_t *flags) noexcept {
    if (!info || !flags) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int32_t found = 0;
    if (!info->pFs) found |= VOLUME_NOT_MOUNTED;
    if (info->pFs && info->pFs->state == FS_STATE_ERRORS) found |= VOLUME_FS_ERRORS;
    if (info->pVg) found |= flags_of_group(*info->pVg);
    SystemArrays system;
    for (const RAID_LIST *node = info->pRaids; node; node = node->pNext) {
        const RAID_INFO *const raid = node->pInfo;
        if (!raid) return MORV_LOG_FAIL(LOG_DEBUG, ERR_SYS_UNKNOWN, -1, "RAID_INFO is NULL");
        if (raid->status == RAID_DEGRADED) found |= VOLUME_RAID_DEGRADED;
        if (raid->status == RAID_CRASHED) found |= VOLUME_RAID_CRASHED;
        if (raid->number <= kLastInternal && system.miss_member_of(*raid)) found |= VOLUME_SYSTEM_DEGRADED;
    }
    *flags = found;
    return 0;
}
