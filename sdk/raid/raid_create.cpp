#include <morvsdk/raid.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"
#include "raid/size_limit.h"

using namespace morv;

static const char *level_text(int type) {
    switch (type) {
        case RAID_TYPE_RAID0:
            return "0";
        case RAID_TYPE_RAID1:
            return "1";
        case RAID_TYPE_RAID5:
            return "5";
        case RAID_TYPE_RAID6:
            return "6";
        case RAID_TYPE_LINEAR:
            return "linear";
        default:
            return nullptr;
    }
}

// More than any metadata has room for.
constexpr int64_t kMostSlots = 4096;

static bool is_valid(const char *path, const char *level, int count, int spares, const MLIBSZLIST *members) {
    if (!path || !is_device(path) || !level || !members || count < 1 || spares < 0) return false;
    const int64_t slots = int64_t{count} + spares;
    if (spares >= members->nItem || slots < members->nItem || slots > kMostSlots) return false;
    for (int i = 0; i < members->nItem; ++i) {
        if (!is_device(members->pszItem[i])) return false;
    }
    return true;
}

static int create(const char *path, int type, const char *level, int count, int spares,
                  const MLIBSZLIST *members) {
    const bool has_spares = type == RAID_TYPE_RAID1 || type == RAID_TYPE_RAID5 || type == RAID_TYPE_RAID6;
    uint32_t limit;
    if (const int code = read_size_limit(limit)) {
        MORV_LOG(LOG_ERR, "Failed to look for /tmp/volume.*, errno=%m");
        return code;
    }

    const std::string array = SysPath(path).c_str();
    std::vector<std::string> devices;
    std::vector<CommandValue> values = {array, level, count};
    std::string format = "/sbin/mdadm -C %s -amd -R -l%s ";
    if (count == 1) format += "-f";
    format += " -n%d ";
    if (has_spares) {
        format += "-x%d";
        values.emplace_back(spares);
    }
    format += ' ';
    if (limit) {
        format += "-z %lu";
        values.emplace_back(limit);
    }
    format += ' ';
    devices.reserve(size_t(members->nItem));
    for (int i = 0; i < members->nItem; ++i) {
        devices.emplace_back(SysPath(members->pszItem[i]).c_str());
        values.emplace_back(devices.back());
        format += " %s";
    }
    for (int64_t i = members->nItem; i < int64_t{count} + spares; ++i)
        format += " missing";
    format += " > /dev/null 2>&1";
    return MORV_RUN(format.c_str(), values);
}

extern "C" int RAIDCreate(const char *path, int type, int count, int spares,
                          const MLIBSZLIST *members) noexcept {
    const char *const level = level_text(type);
    if (!is_valid(path, level, count, spares, members)) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return -1;
    }
    const int code = no_throw([&] { return create(path, type, level, count, spares, members); });
    if (code) return MORV_FAIL(code, -1);
    // An array that could not be tuned works none the less.
    MORVRAIDMdTuningPerformance(path);
    return 0;
}
