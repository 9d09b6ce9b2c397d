#include "morvctl/storage.h"

#include <errno.h>
#include <morvsdk/disk.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "morvctl/target.h"

namespace morvctl {

namespace {

constexpr CodeText kTexts[] = {
    {ERR_SUCCESS, true, "the library refuses it"},
    {ERR_PATH_NOT_FOUND, true, "there is no such array or device any more"},
    {ERR_SYS_UNKNOWN, true, "the command for it failed or is missing; the system log names it"},
    {ERR_FORMAT_ERROR, true, "what the system says of it is not understood"},
    {ERR_UNKNOWN, true, "the kernel refuses it"},
    {ERR_NOT_ENOUGH_SPACE, true, "the device is smaller than what is used of the other members"},
    {ERR_DEVICE_BUSY, true, "the device is in use"},
    {ERR_INVALID_ARRAY, true, "it is no array"},
    {ERR_TIMER_EXPIRED, true, "the command for it took too long"},
    {ERR_READ_FAILED, false, "nothing can be read"},
};

constexpr char kBlockDevices[] = "/sys/block";

constexpr const char *kLevels[] = {"unsupported", "raid0", "raid1", "raid5", "raid6", "linear"};
constexpr const char *kStatuses[] = {"unknown", "normal", "degraded", "crashed"};
constexpr const char *kStates[] = {"in_sync", "faulty", "error", "rebuilding", "spare"};

template <size_t n>
const char *word_of(const char *const (&words)[n], int value) {
    return value >= 0 && size_t(value) < n ? words[value] : "unknown";
}

bool all_digits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// "/dev/sda3" is one of "/dev/sda", "/dev/md2p1" one of "/dev/md2".
bool is_partition_of(std::string_view device, std::string_view disk) {
    if (!device.starts_with(disk) || disk.empty()) return false;
    std::string_view rest = device.substr(disk.size());
    if (all_digits(disk.substr(disk.size() - 1))) {
        if (!rest.starts_with('p')) return false;
        rest.remove_prefix(1);
    }
    return all_digits(rest);
}

// Whether there is a device of that name; without one nothing can be opened.
bool is_known(const Session &session, const std::string &path) {
    const int reason = errno;
    const bool known = access(system_path(session, path).c_str(), F_OK) == 0 || errno != ENOENT ||
                       access(system_path(session, kBlockDevices + path.substr(4)).c_str(), F_OK) == 0;
    errno = reason;
    return known;
}

// Links followed, "/dev/md/2" as "/dev/md2".
std::string resolve_device(const Session &session, const std::string &text) {
    const std::string path = system_path(session, text).substr(session.root.size());
    const std::string array = array_path(path);
    return array.empty() ? path : array;
}

// Reads one line of standard input byte by byte, what follows being somebody else's; false at its end.
bool read_answer(std::string &line) {
    line.clear();
    for (;;) {
        char c;
        const ssize_t got = read(STDIN_FILENO, &c, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        if (c == '\n') return true;
        if (line.size() < 16) line += c;
    }
}

void confirm(const Plan &plan) {
    fflush(stdout);
    for (const std::string &line : plan.lines)
        fprintf(stderr, "%s\n", printable(line).c_str());
    if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO)) {
        throw Failure(Exit::kUsage,
                      "there is no terminal to ask on whether to go on, and nothing has been done; "
                      "--yes is the answer");
    }
    std::string answer;
    do {
        fputs("Go on? (yes/no) ", stderr);
        if (!read_answer(answer)) answer = "no";
    } while (answer != "yes" && answer != "no");
    if (answer == "no") refuse("not confirmed: nothing has been done");
}

}  // namespace

void fail_storage(const std::string &what) {
    fail_library(what, kTexts);
}

std::string array_path(std::string_view text) {
    if (text.starts_with("/dev/")) text.remove_prefix(5);
    if (!text.starts_with("md")) return "";
    text.remove_prefix(2);
    if (text.starts_with('/')) text.remove_prefix(1);
    const bool is_number = all_digits(text) && text.size() <= 9 && (text.size() == 1 || text[0] != '0');
    return is_number ? "/dev/md" + std::string(text) : "";
}

std::string parse_array(const std::string &text) {
    std::string path = array_path(text);
    if (path.empty()) refuse("'" + escape(text) + "' is no array: that is /dev/md and a number");
    return path;
}

std::string parse_device(const Session &session, const std::string &text) {
    const auto check = [&](const std::string &path) {
        if (path.starts_with("/dev/") && path.size() > 5 && path.size() < sizeof RAID_DISK::szPath) return;
        refuse("'" + escape(text) + "' is no device: that is a file in /dev");
    };
    check(text);
    std::string path = resolve_device(session, text);
    check(path);
    return path;
}

uint64_t read_size(const std::string &device) {
    uint64_t sectors = 0;
    clear_errors();
    const int found = DiskSizeGet(device.c_str(), &sectors);
    if (found < 0) fail_storage("read the size of " + escape(device));
    if (found == 0) throw Failure(Exit::kNotFound, "there is no device " + escape(device));
    return sectors * 512;
}

std::vector<std::string> array_paths(const Session &session) {
    List list;
    clear_errors();
    if (RAIDPathEnum(list.address()) != 0) fail_storage("list the arrays");
    auto paths = list.items();
    // The library leaves out arrays of which it cannot tell whether they run: for want of permission, for one.
    std::error_code ignored;
    for (const auto &entry :
         std::filesystem::directory_iterator(system_path(session, kBlockDevices), ignored)) {
        const std::string path = array_path(entry.path().filename().string());
        if (!path.empty() && std::find(paths.begin(), paths.end(), path) == paths.end() &&
            RAIDIsDetected(path.c_str()) < 0) {
            paths.push_back(path);
        }
    }
    // By number, which is by length first.
    std::sort(paths.begin(), paths.end(), [](const std::string &a, const std::string &b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    return paths;
}

Array find_array(const Session &session, const std::string &path) {
    RAID_INFO *array = nullptr;
    clear_errors();
    const int found = RAIDInfoGet(path.c_str(), &array);
    if (found == 1) return Array(array);
    if (found < 0 && (MLIBErrGet() != ERR_OPEN_FAILED || is_known(session, path))) {
        fail_storage("read the array " + path);
    }
    return nullptr;
}

Array read_array(const Session &session, const std::string &path) {
    Array array = find_array(session, path);
    if (!array) throw Failure(Exit::kNotFound, "no array " + path + " is running");
    return array;
}

std::string array_uuid(const std::string &path) {
    char text[sizeof RAID_SB::szUUID];
    clear_errors();
    if (RAIDUUIDGet(path.c_str(), text, sizeof text) != 1) return "";
    // "a:b:c:d (local to host nas)"
    return std::string(text, strcspn(text, " "));
}

const char *level_name(int type) {
    return word_of(kLevels, type);
}

const char *status_name(int status) {
    return word_of(kStatuses, status);
}

const char *state_name(int status) {
    return word_of(kStates, status);
}

std::string shown_word(std::string word) {
    std::replace(word.begin(), word.end(), '_', ' ');
    return word;
}

std::string size_text(uint64_t bytes) {
    static constexpr const char *kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (bytes < 1024) return std::to_string(bytes) + " B";
    size_t unit = 0;
    double size = double(bytes);
    // What would be rounded to 1024.0 is 1.0 of the next unit.
    while (size >= 1023.95 && unit + 1 < std::size(kUnits)) {
        size /= 1024;
        ++unit;
    }
    char text[32];
    snprintf(text, sizeof text, "%.1f %s", size, kUnits[unit]);
    return text;
}

int members_in_sync(const RAID_INFO &array) {
    return array.pDisks ? RAIDDiskCount(array.pDisks, RAID_DISK_IN_SYNC) : 0;
}

double resync_share(const RAID_REBUILD &rebuild) {
    const double done = uint32_t(rebuild.progress[0]);
    const double total = uint32_t(rebuild.progress[1]);
    if (rebuild.state != RAID_REBUILD_RUNNING || total == 0) return -1;
    return std::min(done / total, 1.0);
}

std::string resync_text(const RAID_REBUILD &rebuild) {
    if (rebuild.state == RAID_REBUILD_NONE) return "";
    if (rebuild.state == RAID_REBUILD_PENDING) return "pending";
    const double share = resync_share(rebuild);
    if (share < 0) return "running";
    char text[16];
    // Rounded down: 100.0% is not said before it is.
    snprintf(text, sizeof text, "%.1f%%", std::floor(share * 1000) / 10);
    return text;
}

std::vector<const RAID_DISK *> sorted_members(const RAID_INFO &array) {
    std::vector<const RAID_DISK *> members;
    for (const RAID_DISK *disk = array.pDisks; disk; disk = disk->pNext)
        members.push_back(disk);
    std::sort(members.begin(), members.end(),
              [](const RAID_DISK *a, const RAID_DISK *b) { return strcmp(a->szPath, b->szPath) < 0; });
    return members;
}

Json array_json(const RAID_INFO &array) {
    Json members = Json::array();
    for (const RAID_DISK *member : sorted_members(array))
        members.push_back({{"device", member->szPath}, {"state", state_name(member->status)}});
    const RAID_REBUILD &rebuild = array.rebuild;
    Json resync = {{"state", rebuild.state == RAID_REBUILD_NONE      ? "none"
                             : rebuild.state == RAID_REBUILD_PENDING ? "pending"
                                                                     : "running"}};
    const double share = resync_share(rebuild);
    resync["done"] = share < 0 ? Json(nullptr) : Json(uint32_t(rebuild.progress[0]));
    resync["total"] = share < 0 ? Json(nullptr) : Json(uint32_t(rebuild.progress[1]));
    resync["percent"] = share < 0 ? Json(nullptr) : Json(std::floor(share * 1000) / 10);
    return {{"device", array.szPath},
            {"number", array.number},
            {"level", level_name(array.type)},
            {"status", status_name(array.status)},
            {"size_bytes", array.deviceSize},
            {"component_bytes", array.componentSize},
            {"slots", array.raidDisks},
            {"in_sync", members_in_sync(array)},
            {"resync", resync},
            {"members", members}};
}

Rows array_rows(const std::vector<const RAID_INFO *> &arrays) {
    Rows rows = {{"ARRAY", "LEVEL", "STATUS", "SIZE", "MEMBERS", "RESYNC"}};
    for (const RAID_INFO *array : arrays) {
        rows.push_back({array->szPath, level_name(array->type), status_name(array->status),
                        size_text(array->deviceSize),
                        std::to_string(members_in_sync(*array)) + "/" + std::to_string(array->raidDisks),
                        resync_text(array->rebuild)});
    }
    return rows;
}

Rows member_rows(const RAID_INFO &array) {
    Rows rows = {{"MEMBER", "STATE"}};
    for (const RAID_DISK *member : sorted_members(array))
        rows.push_back({member->szPath, shown_word(state_name(member->status))});
    return rows;
}

std::vector<Use> mounted_uses(const Session &session) {
    List points;
    clear_errors();
    if (FSPathEnum(points.address()) != 0) fail_storage("find out what is mounted");
    std::vector<Use> uses;
    for (const std::string &point : points.items()) {
        FS_INFO *found = nullptr;
        clear_errors();
        const int answer = FSInfoGet(point.c_str(), &found);
        // Gone meanwhile; or with a name longer than that of any array or disk.
        if (answer == 0 || (answer < 0 && MLIBErrGet() == ERR_FORMAT_ERROR)) continue;
        if (answer < 0) fail_storage("find out what is mounted on " + escape(point));
        const FileSystem fs(found);
        const std::string device = fs->szDevice;
        if (!device.starts_with("/dev/")) continue;
        const std::string what = "mounted on " + escape(point);
        const std::string remedy = point.starts_with("/volume")
                                       ? "'morvctl volume umount " + escape(point) + "' unmounts it"
                                       : "unmount it first";
        uses.push_back({resolve_device(session, device), what, remedy});
        char group[sizeof LVM_VG_INFO::szPath];
        if (LVMPathSwitch(device.c_str(), LVM_DEVICE_TO_VG, group, sizeof group) != 0) continue;
        LVM_VG_INFO *info = nullptr;
        if (LVMVgInfoGet(group, &info) != 1) continue;
        const VolumeGroup freed(info);
        for (const LVM_PV *pv = info->pPvs; pv; pv = pv->pNext)
            uses.push_back({pv->szPath, what + " (in the volume group " + group + ")", remedy});
    }
    return uses;
}

std::vector<Use> member_uses(const Session &session) {
    std::vector<Use> uses;
    for (const std::string &path : array_paths(session)) {
        const Array array = find_array(session, path);
        if (!array) continue;
        for (const RAID_DISK *member = array->pDisks; member; member = member->pNext) {
            uses.push_back({member->szPath, "a member of the running array " + path,
                            "'morvctl raid stop " + path + "' stops that"});
        }
    }
    return uses;
}

std::vector<Use> group_uses() {
    List groups;
    clear_errors();
    if (LVMVgPathEnum(groups.address()) != 0) fail_storage("list the volume groups");
    std::vector<Use> uses;
    for (const std::string &group : groups.items()) {
        LVM_VG_INFO *info = nullptr;
        clear_errors();
        const int answer = LVMVgInfoGet(group.c_str(), &info);
        if (answer < 0) fail_storage("read the volume group " + escape(group));
        const VolumeGroup freed(info);
        for (const LVM_PV *pv = info ? info->pPvs : nullptr; pv; pv = pv->pNext) {
            uses.push_back({pv->szPath, "a physical volume of the volume group " + group,
                            "take it out of that with vgreduce and pvremove, and then run "
                            "'morvctl volume lvm-refresh'"});
        }
    }
    return uses;
}

std::vector<Use> uses_of(const std::vector<Use> &all, const std::string &device) {
    std::vector<Use> uses;
    for (const Use &use : all) {
        if (use.device == device || is_partition_of(use.device, device) ||
            is_partition_of(device, use.device)) {
            uses.push_back(use);
        }
    }
    return uses;
}

void check_unused(const std::vector<Use> &all, const std::string &device) {
    const auto uses = uses_of(all, device);
    if (uses.empty()) return;
    const Use &use = uses.front();
    const std::string which = use.device == device                  ? device
                              : is_partition_of(use.device, device) ? "the partition " + use.device
                                                                    : "the disk " + use.device;
    refuse(which + " is " + use.what + "; " + use.remedy);
}

int change_storage(const Session &session, bool yes, const std::function<Plan()> &make_plan,
                   const std::function<void(Json &document)> &apply) {
    Plan plan = make_plan();
    plan.document["dry_run"] = session.dry_run;
    if (session.dry_run) {
        if (!session.json) {
            for (const std::string &line : plan.lines)
                print_line(printable(line));
        }
    } else {
        if (plan.asks && !yes) {
            confirm(plan);
            if (make_plan().lines != plan.lines) {
                refuse("something has changed since you were asked: nothing has been done");
            }
        }
        apply(plan.document);
    }
    if (session.json) print_json(plan.document);
    return int(Exit::kDone);
}

}  // namespace morvctl
