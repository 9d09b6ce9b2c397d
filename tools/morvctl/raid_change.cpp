// morvctl raid: what makes, changes and ends arrays.
#include <morvsdk/error.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <set>

#include "morvctl/raid_commands.h"
#include "morvctl/record_event.h"
#include "morvctl/signals.h"
#include "morvctl/storage.h"

namespace morvctl {

namespace {

struct Level {
    int type;
    int least_slots;
    bool has_spares;
};
constexpr Level kLevels[] = {{RAID_TYPE_RAID0, 1, false},
                             {RAID_TYPE_RAID1, 1, true},
                             {RAID_TYPE_RAID5, 2, true},
                             {RAID_TYPE_RAID6, 4, true},
                             {RAID_TYPE_LINEAR, 1, false}};

const Level &parse_level(const std::string &text) {
    for (const Level &level : kLevels) {
        if (text == level_name(level.type)) return level;
    }
    throw Failure(Exit::kUsage,
                  "--level is raid0, raid1, raid5, raid6 or linear, not '" + escape(text) + "'");
}

// How many members an array can do without.
int tolerance(int type, int slots) {
    switch (type) {
        case RAID_TYPE_RAID1:
            return slots - 1;
        case RAID_TYPE_RAID5:
            return 1;
        case RAID_TYPE_RAID6:
            return 2;
        default:
            return 0;
    }
}

std::string count_text(int count, const char *what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// A device, and what it holds.
struct Device {
    std::string path;
    uint64_t bytes = 0;
    enum { kNone, kKnown, kForeign } kind = kNone;
    RAID_SB superblock = {};

    Json json() const {
        Json found = nullptr;
        if (kind == kForeign) found = {{"array", nullptr}, {"uuid", nullptr}};
        if (kind == kKnown) found = {{"array", superblock.szPath}, {"uuid", superblock.szUUID}};
        return {{"device", path}, {"size_bytes", bytes}, {"superblock", found}};
    }
    std::vector<std::string> row() const {
        std::string found = "no superblock of an array";
        if (kind == kForeign) found = "a superblock that is not understood";
        if (kind == kKnown)
            found = std::string("superblock of ") + superblock.szPath + ", UUID " + superblock.szUUID;
        return {"  " + path, size_text(bytes), found};
    }
};

Device read_device(const std::string &path) {
    Device device;
    device.path = path;
    device.bytes = read_size(path);
    clear_errors();
    const int found = RAIDSBGet(path.c_str(), &device.superblock);
    if (found < 0 && MLIBErrGet() != ERR_FORMAT_ERROR) fail_storage("look for a superblock on " + path);
    device.kind = found < 0 ? Device::kForeign : found == 1 ? Device::kKnown : Device::kNone;
    return device;
}

std::vector<Device> read_devices(const Session &session, const std::vector<std::string> &texts) {
    std::vector<Device> devices;
    std::set<std::string> seen;
    for (const std::string &text : texts) {
        const std::string path = parse_device(session, text);
        if (!seen.insert(path).second) refuse(path + " is named twice");
        devices.push_back(read_device(path));
    }
    return devices;
}

void add_devices(Plan &plan, const std::vector<Device> &devices) {
    Rows rows;
    Json all = Json::array();
    for (const Device &device : devices) {
        rows.push_back(device.row());
        all.push_back(device.json());
    }
    for (const std::string &line : table_lines(rows))
        plan.lines.push_back(line);
    plan.document["devices"] = all;
}

// What every change checks first of devices that it will take.
void check_devices(const Session &session, const std::vector<Device> &devices) {
    auto uses = member_uses(session);
    for (auto &more : {mounted_uses(session), group_uses()})
        uses.insert(uses.end(), more.begin(), more.end());
    for (const Device &device : devices)
        check_unused(uses, device.path);
}

void check_not_running(const Session &session, const std::string &path) {
    const auto running = array_paths(session);
    if (std::find(running.begin(), running.end(), path) == running.end()) return;
    refuse("the array " + path + " runs already; 'morvctl raid show " + path + "' shows it");
}

// "/dev/md2 (raid5, degraded, 1.8 TiB)"
std::string described(const RAID_INFO &array) {
    return std::string(array.szPath) + " (" + level_name(array.type) + ", " + status_name(array.status) +
           ", " + size_text(array.deviceSize) + ")";
}

void add_members(Plan &plan, const RAID_INFO &array) {
    for (const std::string &line : table_lines(member_rows(array)))
        plan.lines.push_back("  " + line);
}

void fill(List &list, const std::vector<Device> &devices) {
    for (const Device &device : devices)
        list.push(device.path);
}

// The array after a change, for programs.
void show_result(const Session &session, const std::string &path, Json &document) {
    if (!session.json) return;
    if (const Array array = find_array(session, path)) document["array"] = array_json(*array);
}

}  // namespace

int create_array(const Session &session, const RaidArgs &args) {
    const std::string path = parse_array(args.array);
    const Level &level = parse_level(*args.level);
    const int filled = int(args.devices.size());
    const int slots = args.slots ? args.slots : filled - args.spares;
    const int missing = slots + args.spares - filled;
    if (args.spares > 0 && !level.has_spares) refuse(*args.level + " has no spares");
    if (args.spares >= filled) refuse("all members would be spares");
    // mdadm would take the missing one for a spare.
    if (args.spares > 0 && missing > 0) refuse("a member cannot be missing while others are spares");
    if (missing < 0) {
        refuse(count_text(filled, "member") + " are more than " + count_text(slots, "slot") + " and " +
               count_text(args.spares, "spare"));
    }
    if (slots < level.least_slots) {
        refuse(*args.level + " needs " + count_text(level.least_slots, "member") + " at least");
    }
    if (missing > tolerance(level.type, slots)) {
        refuse(*args.level + " with " + count_text(slots, "slot") + " cannot do without " +
               count_text(missing, "member"));
    }
    std::vector<Device> devices;
    const auto make_plan = [&] {
        check_not_running(session, path);
        devices = read_devices(session, args.devices);
        check_devices(session, devices);
        Plan plan;
        plan.document["array"] = {{"device", path},
                                  {"level", *args.level},
                                  {"slots", slots},
                                  {"spares", args.spares},
                                  {"missing", missing}};
        std::string line = path + " will be made: " + *args.level + " of " + count_text(slots, "member");
        if (missing > 0) line += ", " + std::to_string(missing) + " of them missing";
        if (args.spares > 0) line += ", and " + count_text(args.spares, "spare");
        plan.lines.push_back(line + ".");
        uint32_t limit = 0;
        if (RAIDSizeLimitGet(&limit) == 1) {
            plan.lines.push_back("Of each member at most " + size_text(uint64_t{limit} * 1024) +
                                 " will be used, as a file /tmp/volume.* says.");
        }
        plan.lines.push_back("All that these devices hold will be lost:");
        add_devices(plan, devices);
        return plan;
    };
    change_storage(session, args.yes, make_plan, [&](Json &document) {
        List list;
        fill(list, devices);
        clear_errors();
        if (RAIDCreate(path.c_str(), level.type, slots, args.spares, list.get()) != 0) {
            fail_storage("create the array " + path);
        }
        show_result(session, path, document);
    });
    record_event(session, MORV_EVENT_ARRAY_CREATED, {path, *args.level});
    return int(Exit::kDone);
}

int add_member(const Session &session, const RaidArgs &args) {
    const std::string path = parse_array(args.array);
    std::vector<Device> devices;
    const auto make_plan = [&] {
        const Array array = read_array(session, path);
        devices = read_devices(session, args.devices);
        const std::string device = devices[0].path;
        RAID_DISK *member = nullptr;
        if (array->pDisks && RAIDDiskListSearch(array->pDisks, device.c_str(), &member) == 1) {
            refuse(device + " is a member of " + path +
                   " already: " + shown_word(state_name(member->status)));
        }
        check_devices(session, devices);
        Plan plan;
        plan.document["array"] = array_json(*array);
        plan.lines = {"This device will become a member of " + described(*array) +
                      ", and all that it holds will be lost:"};
        add_devices(plan, devices);
        return plan;
    };
    change_storage(session, args.yes, make_plan, [&](Json &document) {
        const char *device = devices[0].path.c_str();
        clear_errors();
        if ((args.force ? RAIDAdd : RAIDAddRobustCheck)(path.c_str(), device) != 0) {
            fail_storage("add " + devices[0].path + " to the array " + path);
        }
        show_result(session, path, document);
    });
    record_event(session, MORV_EVENT_ARRAY_DISK_ADDED, {path, devices[0].path});
    return int(Exit::kDone);
}

int stop_array(const Session &session, const RaidArgs &args) {
    const std::string path = parse_array(args.array);
    const auto make_plan = [&] {
        const Array array = read_array(session, path);
        check_unused(mounted_uses(session), path);
        check_unused(member_uses(session), path);
        Plan plan;
        plan.document["array"] = array_json(*array);
        plan.lines = {described(*array) + " will be stopped. Its members keep what it holds:"};
        add_members(plan, *array);
        return plan;
    };
    change_storage(session, args.yes, make_plan, [&](Json &) {
        clear_errors();
        if (RAIDStop(path.c_str()) != 0) fail_storage("stop the array " + path);
    });
    record_event(session, MORV_EVENT_ARRAY_STOPPED, {path});
    return int(Exit::kDone);
}

int remove_array(const Session &session, const RaidArgs &args) {
    const std::string path = parse_array(args.array);
    Array array;
    std::string uuid;
    const auto make_plan = [&] {
        array = read_array(session, path);
        check_unused(mounted_uses(session), path);
        check_unused(member_uses(session), path);
        // Without it the members could not be wiped.
        uuid = array_uuid(path);
        if (uuid.empty()) fail_storage("read the UUID of " + path);
        Plan plan;
        plan.document["array"] = array_json(*array);
        plan.document["array"]["uuid"] = uuid;
        plan.lines = {described(*array) + " will be dissolved, and all that it holds will be lost for ever.",
                      "Its UUID is " + uuid + "; the superblocks of its members will be wiped:"};
        add_members(plan, *array);
        for (const Use &use : uses_of(group_uses(), path))
            plan.lines.push_back("It is " + use.what + ", which will lack it.");
        return plan;
    };
    change_storage(session, args.yes, make_plan, [&](Json &) {
        // Once it is stopped, what is not wiped could not be found by its name.
        const HeldSignals held;
        clear_errors();
        if (RAIDRemove(array.get()) != 0) fail_storage("remove the array " + path);
        std::string left;
        for (const RAID_DISK *member : sorted_members(*array)) {
            RAID_SB superblock = {};
            if (RAIDSBGet(member->szPath, &superblock) == 1 && uuid == superblock.szUUID)
                left.append(left.empty() ? "" : ", ").append(member->szPath);
        }
        if (!left.empty()) {
            throw Failure(Exit::kFailed, "the array " + path + " is stopped, but not all of it is wiped: " +
                                             left + " still has its superblock");
        }
    });
    record_event(session, MORV_EVENT_ARRAY_REMOVED, {path});
    return int(Exit::kDone);
}

namespace {

// What is used of each member, in KiB.
uint64_t wanted_size(const RAID_INFO &array, const std::string &text) {
    const uint64_t now = array.componentSize / 1024;
    if (text == "max") {
        uint64_t most = 0;
        clear_errors();
        const int answer = RAIDExpansible(&array, &most);
        if (answer < 0) fail_storage("read the sizes of the members of " + std::string(array.szPath));
        if (answer == 0) {
            refuse("the members of " + std::string(array.szPath) + " have no more room than the " +
                   size_text(array.componentSize) + " that it uses of each");
        }
        return most;
    }
    uint64_t wanted = 0;
    bool sound = !text.empty() && text.size() <= 15;
    for (const char c : text) {
        sound = sound && c >= '0' && c <= '9';
        wanted = wanted * 10 + uint64_t(c - '0');
    }
    if (!sound) throw Failure(Exit::kUsage, "--size is a number of KiB or max, not '" + escape(text) + "'");
    if (wanted <= now) {
        refuse(text + " KiB are not more than the " + std::to_string(now) + " KiB that " + array.szPath +
               " uses of each member");
    }
    return wanted;
}

void check_slots(const RAID_INFO &array, int slots) {
    const std::string path = array.szPath;
    if (slots <= array.raidDisks) {
        refuse(count_text(slots, "slot") + " are not more than the " + std::to_string(array.raidDisks) +
               " that " + path + " has");
    }
    const int spares = array.pDisks ? RAIDDiskCount(array.pDisks, RAID_DISK_SPARE) : 0;
    const int more = slots - array.raidDisks;
    if (spares < more) {
        refuse(path + " needs " + count_text(more, "spare") + " for that and has " + std::to_string(spares) +
               "; 'morvctl raid add " + path + " MEMBER' adds one");
    }
}

}  // namespace

int expand_array(const Session &session, const RaidArgs &args) {
    exclude(args.size.has_value(), args.slots != 0, "--size and --devices");
    const std::string path = parse_array(args.array);
    uint64_t kib = 0;
    const auto make_plan = [&] {
        const Array array = read_array(session, path);
        if (array->rebuild.state != RAID_REBUILD_NONE) {
            refuse("a resync of " + path + " is not done yet; 'morvctl raid show --watch " + path +
                   "' waits for its end");
        }
        Plan plan;
        plan.document["array"] = array_json(*array);
        if (args.slots) {
            check_slots(*array, args.slots);
            plan.document["slots"] = args.slots;
            plan.lines = {described(*array) + " will grow from " + count_text(array->raidDisks, "member") +
                          " to " + std::to_string(args.slots) + ". This cannot be undone."};
        } else {
            kib = wanted_size(*array, args.size.value_or("max"));
            plan.document["component_bytes"] = kib * 1024;
            plan.lines = {described(*array) + " will use " + size_text(kib * 1024) +
                          " of each member instead of " + size_text(array->componentSize) +
                          ". This cannot be undone."};
        }
        return plan;
    };
    change_storage(session, args.yes, make_plan, [&](Json &document) {
        clear_errors();
        const int failed =
            args.slots ? RAIDDevCountChange(path.c_str(), args.slots) : RAIDExpand(path.c_str(), kib);
        if (failed != 0) fail_storage("expand the array " + path);
        show_result(session, path, document);
    });
    record_event(session, MORV_EVENT_ARRAY_EXPANDED, {path});
    return int(Exit::kDone);
}

namespace {

// The one array that all devices carry the superblock of; what belongs to different arrays is not mixed.
RAID_SB common_superblock(const std::vector<Device> &devices, const std::optional<std::string> &uuid) {
    for (const Device &device : devices) {
        if (device.kind != Device::kKnown) {
            refuse(device.path +
                   " has no superblock of an array; 'morvctl raid scan' shows those of devices");
        }
        const std::string wanted = uuid ? *uuid : devices[0].superblock.szUUID;
        if (strcasecmp(device.superblock.szUUID, wanted.c_str()) == 0) continue;
        refuse(device.path + " belongs to the array with the UUID " + device.superblock.szUUID + ", " +
               (uuid ? "not to that with " + escape(wanted) : devices[0].path + " to that with " + wanted) +
               "; members of different arrays are not mixed");
    }
    RAID_SB_LIST *found = nullptr;
    List list;
    list.push(devices[0].path);
    clear_errors();
    if (RAIDScan(list.get(), RAID_SCAN_ALL, &found) < 0)
        fail_storage("read the superblock of " + devices[0].path);
    const Superblocks freed(found);
    RAID_SB superblock = found ? *found->pSB : devices[0].superblock;
    memcpy(superblock.szUUID, devices[0].superblock.szUUID, sizeof superblock.szUUID);
    return superblock;
}

}  // namespace

int assemble_array(const Session &session, const RaidArgs &args) {
    const std::string path = parse_array(args.array);
    std::vector<Device> devices;
    RAID_SB superblock;
    const auto make_plan = [&] {
        check_not_running(session, path);
        devices = read_devices(session, args.devices);
        superblock = common_superblock(devices, args.uuid);
        check_devices(session, devices);
        Plan plan;
        plan.asks = false;
        plan.document["array"] = {
            {"device", path}, {"uuid", superblock.szUUID}, {"slots", superblock.devices}};
        plan.lines = {path + " will be started of these devices:"};
        add_devices(plan, devices);
        if (int(devices.size()) < superblock.devices || superblock.devices < 1) {
            plan.asks = true;
            plan.lines.push_back((superblock.devices < 1
                                      ? "How many members it has is not known"
                                      : "It has " + count_text(superblock.devices, "member")) +
                                 ": it will run without those that are not named here.");
        }
        if (path != superblock.szPath) {
            plan.asks = true;
            plan.lines.push_back(std::string("It was called ") + superblock.szPath + " so far.");
        }
        return plan;
    };
    change_storage(session, args.yes, make_plan, [&](Json &document) {
        List list;
        fill(list, devices);
        // The path is no longer than this: "/dev/md" and nine digits.
        memcpy(superblock.szPath, path.c_str(), path.size() + 1);
        clear_errors();
        if (RAIDAssemble(&superblock, list.get()) != 0) fail_storage("assemble the array " + path);
        if (!find_array(session, path)) {
            throw Failure(Exit::kFailed, "cannot assemble the array " + path + ": mdadm has not started it");
        }
        show_result(session, path, document);
    });
    record_event(session, MORV_EVENT_ARRAY_ASSEMBLED, {path});
    return int(Exit::kDone);
}

}  // namespace morvctl
