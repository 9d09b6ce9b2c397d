#include <morvsdk/raid.h>
#include <stdio.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/storage/device_name.h"
#include "core/system/sysfs.h"

using namespace morv;

// As much of a member's files as is looked at.
constexpr size_t kRoom = 32;

static int read_member_file(const char *entry, const char *name, char (&room)[kRoom],
                            std::string_view &line) {
    char path[PATH_MAX];
    if (snprintf(path, sizeof path, "%s/%s", entry, name) >= int(sizeof path)) return ERR_OPEN_FAILED;
    return read_attribute(path, room, line);
}

static int read_status(const char *entry, int32_t &status) {
    const auto contains = [](std::string_view text, std::string_view word) {
        return text.find(word) != text.npos;
    };
    char state_room[kRoom], slot_room[kRoom];
    std::string_view state, slot;
    if (const int code = read_member_file(entry, "state", state_room, state)) return code;
    if (contains(state, "faulty")) {
        status = RAID_DISK_FAULTY;
    } else if (contains(state, "error")) {
        status = RAID_DISK_ERROR;
    } else if (!contains(state, "in_sync") && contains(state, "spare")) {
        if (const int code = read_member_file(entry, "slot", slot_room, slot)) return code;
        status = contains(slot, "none") ? RAID_DISK_SPARE : RAID_DISK_REBUILDING;
    } else {
        status = RAID_DISK_IN_SYNC;
    }
    return 0;
}

extern "C" RAID_DISK *RAIDDiskCreate(const char *entry) noexcept {
    if (!entry) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, nullptr, "Bad parameters");
    MallocPtr<RAID_DISK> disk(static_cast<RAID_DISK *>(calloc(1, sizeof(RAID_DISK))));
    if (!disk) return MORV_LOG_FAIL(LOG_DEBUG, ERR_OUT_OF_MEMORY, nullptr, "Out of memory");
    constexpr std::string_view kPrefix = "dev-", kFolder = "/dev/";
    std::string_view name = last_name(entry);
    if (!name.starts_with(kPrefix) || name.size() - kPrefix.size() + kFolder.size() >= sizeof disk->szPath) {
        MORV_LOG(LOG_DEBUG, "Bad member of an array: %s", entry);
        return MORV_FAIL(ERR_INVALID_PATH, nullptr);
    }
    name.remove_prefix(kPrefix.size());
    snprintf(disk->szPath, sizeof disk->szPath, "/dev/%s", name.data());
    if (const int code = read_status(entry, disk->status)) {
        MORV_LOG(LOG_DEBUG, "Failed to read the status of %s, errno=%m", entry);
        return MORV_FAIL(code, nullptr);
    }
    return disk.release();
}
