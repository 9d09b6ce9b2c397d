// The array that a device is a member of.
#pragma once

#include <errno.h>
#include <morvsdk/raid.h>
#include <unistd.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"

namespace morv {

// 1 with the array that has the device as a member and runs, 0 when there is none, -1 with the error state set
// when the device or the array cannot be read.
inline int find_live_array(const char *device, RAID_SB &sb, int32_t &number) noexcept {
    const int has_superblock = RAIDSBGet(device, &sb);
    if (has_superblock != 1) return has_superblock;
    if (!array_number(sb.szPath, number)) return 0;
    // No device, no array; of everything else that fails nobody may think that the device is free.
    if (access(SysPath(sb.szPath).c_str(), F_OK) != 0 && errno == ENOENT) return 0;
    RAID_INFO *info = nullptr;
    const int runs = RAIDInfoGet(sb.szPath, &info);
    if (runs != 1) return runs;
    const int is_member = RAIDDiskListSearch(info->pDisks, device, nullptr);
    RAIDInfoFree(info);
    return is_member;
}

}  // namespace morv
