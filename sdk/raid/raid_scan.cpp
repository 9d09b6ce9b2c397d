#include <stdlib.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/device_name.h"
#include "core/storage/superblock_text.h"
#include "raid/examine.h"

using namespace morv;

using ListPtr = std::unique_ptr<RAID_SB_LIST, Releaser<RAIDScanFree>>;

static bool is_wanted(const SuperblockText &found, int mode) {
    int32_t number;
    if (!found.has_path || !array_number(found.sb.szPath, number)) return false;
    return mode != RAID_SCAN_EXPANSION || number > 100;
}

static int push(ListPtr &list, const RAID_SB &sb) {
    MallocPtr<RAID_SB> record(static_cast<RAID_SB *>(malloc(sizeof(RAID_SB))));
    if (!record) return ERR_OUT_OF_MEMORY;
    *record = sb;
    RAID_SB_LIST *head = list.release();
    const int pushed = RAIDSBPush(&head, record.get());
    list.reset(head);
    if (pushed != 0) return ERR_OUT_OF_MEMORY;
    record.release();
    return 0;
}

static int scan(const MLIBSZLIST &devices, int mode, ListPtr &list, int &count) {
    for (int i = 0; i < devices.nItem; ++i) {
        const char *const device = devices.pszItem[i];
        std::string output;
        if (!is_device(device)) continue;
        int code = examine("/sbin/mdadm -E -b %s 2>/dev/null", device, output);
        SuperblockText found = parse_superblock(output);
        // Of late, mdadm tells level and number of devices only when it is asked for more.
        if (code == 0 && is_wanted(found, mode) && (!found.has_level || !found.has_devices)) {
            output.clear();
            code = examine("/sbin/mdadm -E -b -v %s 2>/dev/null", device, output);
            const SuperblockText more = parse_superblock(output);
            if (code == 0 && more.has_path && more.has_uuid) found = more;
        }
        if (code == ERR_OUT_OF_MEMORY) return code;
        if (code != 0) MORV_LOG(LOG_DEBUG, "Failed to examine %s, errno=%m", device);
        if (code != 0 || !is_wanted(found, mode)) continue;
        if (const int failed = push(list, found.sb)) return failed;
        ++count;
    }
    return 0;
}

extern "C" int RAIDScan(const MLIBSZLIST *devices, int mode, RAID_SB_LIST **ppList) noexcept {
    if (!devices || !ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    ListPtr list;
    int count = 0;
    const int code = no_throw([&] { return scan(*devices, mode, list, count); });
    if (code) return MORV_FAIL(code, -1);
    RAID_SB_LIST **end = ppList;
    while (*end)
        end = &(*end)->pNext;
    *end = list.release();
    return count;
}
