#include <stdlib.h>
#include <string.h>

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
    static_cast<void>(record.release());
    return 0;
}

// Of late, mdadm tells level and number of devices only when it is asked for more.
static void ask_for_more(const char *device, SuperblockText &found) {
    std::string output;
    if (examine("/sbin/mdadm -E -b -v %s 2>/dev/null", device, output) != 0) return;
    const SuperblockText more = parse_superblock(output);
    if (more.has_path && strcmp(more.sb.szPath, found.sb.szPath) == 0) found = more;
}

// A device that mdadm could not be asked about is left out, and its code is left in `failed`.
static int scan(const MLIBSZLIST &devices, int mode, ListPtr &list, int &count, int &failed) {
    for (int i = 0; i < devices.nItem; ++i) {
        const char *const device = devices.pszItem[i];
        std::string output;
        if (!is_device(device)) continue;
        if (const int code = examine("/sbin/mdadm -E -b %s 2>/dev/null", device, output)) {
            if (code == ERR_OUT_OF_MEMORY) return code;
            MORV_LOG(LOG_DEBUG, "Failed to examine %s, errno=%m", device);
            failed = code;
            continue;
        }
        SuperblockText found = parse_superblock(output);
        if (!is_wanted(found, mode)) continue;
        if (!found.has_level || !found.has_devices) ask_for_more(device, found);
        if (const int code = push(list, found.sb)) return code;
        ++count;
    }
    return 0;
}

extern "C" int RAIDScan(const MLIBSZLIST *devices, int mode, RAID_SB_LIST **ppList) noexcept {
    if (!devices || !ppList) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    ListPtr list;
    int count = 0, failed = 0;
    const int code = no_throw([&] { return scan(*devices, mode, list, count, failed); });
    if (code) return MORV_FAIL(code, -1);
    if (failed && count == 0) return MORV_FAIL(failed, -1);
    RAID_SB_LIST **end = ppList;
    while (*end)
        end = &(*end)->pNext;
    *end = list.release();
    return failed ? MORV_FAIL(failed, count) : count;
}
