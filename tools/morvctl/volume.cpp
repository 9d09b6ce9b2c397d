// morvctl volume: the file systems that hold people's data.
#include <errno.h>
#include <morvsdk/error.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <map>
#include <set>

#include "morvctl/lvm_report.h"
#include "morvctl/pairs.h"
#include "morvctl/record_event.h"
#include "morvctl/signals.h"
#include "morvctl/storage.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

struct Args {
    std::string path;
    std::string device;
    std::optional<std::string> volume;
    std::optional<std::string> file;
    bool names = false;
};

using Volume = std::unique_ptr<VOLUME_INFO, Release<VOLUME_INFO, VolumeInfoFree>>;
using Mounts = std::unique_ptr<VOLUME_MOUNT, Release<VOLUME_MOUNT, MORVMountVolInfoFree>>;

// A list that may get a further first node.
class Volumes {
  public:
    Volumes() = default;
    ~Volumes() { VolumeInfoListFree(list_); }
    Volumes(const Volumes &) = delete;
    Volumes &operator=(const Volumes &) = delete;
    VOLUME_INFO_LIST *&list() { return list_; }

  private:
    VOLUME_INFO_LIST *list_ = nullptr;
};

struct Named {
    int32_t value;
    const char *name;
};
constexpr Named kKinds[] = {{VOLUME_ON_LVM, "lvm"}, {VOLUME_ON_RAID, "raid"}, {VOLUME_ON_DISK, "disk"}};
constexpr Named kLocations[] = {{VOLUME_INTERNAL, "internal"},
                                {VOLUME_EXPANSION, "expansion"},
                                {VOLUME_USB, "usb"},
                                {VOLUME_SATA, "sata"}};
constexpr Named kFileSystemStates[] = {{FS_STATE_CLEAN, "clean"}, {FS_STATE_ERRORS, "errors"}};
constexpr Named kFlags[] = {{VOLUME_NOT_MOUNTED, "not_mounted"},
                            {VOLUME_FS_ERRORS, "file_system_errors"},
                            {VOLUME_PV_MISSING, "physical_volume_missing"},
                            {VOLUME_PV_MISSING_ENCLOSURE, "physical_volume_of_enclosure_missing"},
                            {VOLUME_RAID_DEGRADED, "array_degraded"},
                            {VOLUME_RAID_CRASHED, "array_crashed"},
                            {VOLUME_SYSTEM_DEGRADED, "system_array_degraded"}};

const char *name_of(std::span<const Named> names, int32_t value) {
    for (const Named &named : names) {
        if (named.value == value) return named.name;
    }
    return "unknown";
}

std::string parse_volume(const std::string &text) {
    VOLUME_ID id;
    if (VolumePathParse(text.c_str(), &id) != 1 || text.find('/', 1) != text.npos) {
        refuse("'" + escape(text) +
               "' is no volume: that is /volume, /volumeX, /volumeUSB or /volumeSATA and "
               "a number");
    }
    return text;
}

Volume find_volume(const std::string &path) {
    VOLUME_INFO *volume = nullptr;
    clear_errors();
    if (VolumeInfoGet(path.c_str(), &volume) < 0) fail_storage("read the volume " + escape(path));
    return Volume(volume);
}

Volume read_volume(const std::string &path) {
    Volume volume = find_volume(path);
    if (!volume) throw Failure(Exit::kNotFound, "there is no volume " + escape(path));
    return volume;
}

// All volumes, those on external disks included.
void read_volumes(Volumes &volumes) {
    clear_errors();
    if (VolumeInfoEnum(&volumes.list()) < 0) fail_storage("list the volumes");
    VOLUME_MOUNT *found = nullptr;
    clear_errors();
    if (MORVMountVolAllEnum(&found) < 0) fail_storage("list the volumes that are mounted");
    const Mounts mounts(found);
    for (const VOLUME_MOUNT *mount = found; mount; mount = mount->pNext) {
        if (mount->location != VOLUME_USB && mount->location != VOLUME_SATA) continue;
        Volume volume = find_volume(mount->szMountPoint);
        if (!volume) continue;
        if (VolumeInfoListPush(&volumes.list(), volume.get()) != 0) fail_storage("list the volumes");
        static_cast<void>(volume.release());
    }
    volumes.list() = VolumeInfoListSort(volumes.list());
}

struct Health {
    int32_t flags = 0;
    bool writable = false;

    std::vector<std::string> words() const {
        std::vector<std::string> found;
        for (const Named &flag : kFlags) {
            if (flags & flag.value) found.push_back(flag.name);
        }
        return found;
    }
    std::string text() const {
        std::string all;
        for (const std::string &word : words())
            all.append(all.empty() ? "" : ", ").append(shown_word(word));
        return all.empty() ? "healthy" : all;
    }
};

Health health_of(const VOLUME_INFO &volume) {
    Health health;
    clear_errors();
    const int writable = VolumeIsWritable(&volume, &health.flags);
    if (writable < 0) fail_storage("find out about the health of " + std::string(volume.szPath));
    health.writable = writable == 1 && volume.pFs->writable;
    return health;
}

struct Room {
    uint64_t total = 0;
    uint64_t available = 0;
    bool known = false;
};

Room room_of(const VOLUME_INFO &volume) {
    VOLUME_MOUNT mount;
    if (!volume.pFs || MORVMountVolInfoGet(volume.szPath, &mount) != 0 || !mount.mounted) return {};
    return {mount.totalBytes, mount.availableBytes, mount.totalBytes > 0};
}

std::string bytes_text(bool known, uint64_t bytes) {
    return known ? size_text(bytes) : "-";
}

std::vector<const RAID_INFO *> arrays_of(const VOLUME_INFO &volume) {
    std::vector<const RAID_INFO *> arrays;
    for (const RAID_LIST *node = volume.pRaids; node; node = node->pNext) {
        if (node->pInfo) arrays.push_back(node->pInfo);
    }
    std::sort(arrays.begin(), arrays.end(),
              [](const RAID_INFO *a, const RAID_INFO *b) { return a->number < b->number; });
    return arrays;
}

// What is mounted, and what lies under that, each once.
std::string devices_text(const VOLUME_INFO &volume) {
    std::vector<std::string> devices;
    const auto add = [&](const char *device) {
        if (std::find(devices.begin(), devices.end(), device) == devices.end()) devices.push_back(device);
    };
    if (volume.pFs) add(volume.pFs->szDevice);
    if (volume.pVg) add(volume.pVg->szPath);
    for (const RAID_INFO *array : arrays_of(volume))
        add(array->szPath);
    std::string text;
    for (const std::string &device : devices)
        text.append(text.empty() ? "" : ",").append(device);
    return text;
}

Json group_json(const LVM_VG_INFO &group) {
    Json volumes = Json::array();
    for (const LVM_PV *pv = group.pPvs; pv; pv = pv->pNext) {
        volumes.push_back(
            {{"device", pv->szPath}, {"state", pv->status == LVM_PV_MISSING ? "missing" : "normal"}});
    }
    return {{"group", group.szPath}, {"physical_volumes", volumes}};
}

Json volume_json(const VOLUME_INFO &volume) {
    const Health health = health_of(volume);
    const Room room = room_of(volume);
    Json json = {{"volume", volume.szPath},
                 {"number", volume.number},
                 {"location", name_of(kLocations, volume.location)},
                 {"kind", name_of(kKinds, volume.kind)},
                 {"mounted", volume.pFs != nullptr},
                 {"device", nullptr},
                 {"file_system", nullptr},
                 {"size_bytes", room.known ? Json(room.total) : Json(nullptr)},
                 {"free_bytes", room.known ? Json(room.available) : Json(nullptr)},
                 {"healthy", health.flags == 0},
                 {"health", health.words()},
                 {"writable", health.writable},
                 {"basic", VolumeIsBasic(&volume) == 1},
                 {"group", volume.pVg ? group_json(*volume.pVg) : Json(nullptr)}};
    if (volume.pFs) {
        json["device"] = volume.pFs->szDevice;
        json["file_system"] = {{"type", volume.pFs->szType},
                               {"state", name_of(kFileSystemStates, volume.pFs->state)},
                               {"read_only", volume.pFs->writable == 0}};
    }
    json["arrays"] = Json::array();
    for (const RAID_INFO *array : arrays_of(volume))
        json["arrays"].push_back(array_json(*array));
    return json;
}

int list(const Session &session, const Args &args) {
    Volumes volumes;
    read_volumes(volumes);
    Json documents = Json::array();
    Rows rows = {{"VOLUME", "KIND", "LOCATION", "DEVICES", "SIZE", "FREE", "STATE"}};
    for (const VOLUME_INFO_LIST *node = volumes.list(); node; node = node->pNext) {
        const VOLUME_INFO &volume = *node->pInfo;
        if (session.json) {
            documents.push_back(volume_json(volume));
        } else if (args.names) {
            print_line(printable(volume.szPath));
        } else {
            const Room room = room_of(volume);
            rows.push_back({volume.szPath, name_of(kKinds, volume.kind), name_of(kLocations, volume.location),
                            devices_text(volume), bytes_text(room.known, room.total),
                            bytes_text(room.known, room.available), health_of(volume).text()});
        }
    }
    if (session.json) {
        print_json({{"volumes", documents}});
    } else if (!args.names) {
        print_table(rows);
    }
    return int(Exit::kDone);
}

// What is being done to a volume; null when nothing is.
Json work_on(const std::string &path) {
    VOLUME_PROGRESS progress;
    clear_errors();
    const int busy = VolumeIsActioning(path.c_str(), &progress);
    if (busy < 0) fail_storage("find out whether something works on " + escape(path));
    if (busy == 0) return nullptr;
    return {{"pid", progress.pid}, {"action", progress.szAction}, {"step", progress.szStep}};
}

int show(const Session &session, const Args &args) {
    const std::string path = parse_volume(args.path);
    const Volume volume = read_volume(path);
    const Json work = work_on(path);
    if (session.json) {
        Json document = volume_json(*volume);
        document["work"] = work;
        print_json({{"volume", document}});
        return int(Exit::kDone);
    }
    const Health health = health_of(*volume);
    const Room room = room_of(*volume);
    const FS_INFO *fs = volume->pFs;
    Rows rows = {{"volume", path},
                 {"location", name_of(kLocations, volume->location)},
                 {"kind", name_of(kKinds, volume->kind)},
                 {"basic", VolumeIsBasic(volume.get()) == 1 ? "yes" : "no"},
                 {"device", fs ? fs->szDevice : "not mounted"}};
    if (fs) {
        rows.push_back({"file system", std::string(fs->szType) + ", " +
                                           name_of(kFileSystemStates, fs->state) +
                                           (fs->writable ? "" : ", read-only")});
    }
    rows.insert(rows.end(), {{"size", bytes_text(room.known, room.total)},
                             {"free", bytes_text(room.known, room.available)},
                             {"state", health.text()},
                             {"writable", health.writable ? "yes" : "no"},
                             {"work", work.is_null() ? "none"
                                                     : work["action"].get<std::string>() + ", " +
                                                           work["step"].get<std::string>() + " (process " +
                                                           work["pid"].dump() + ")"}});
    print_table(rows);
    if (volume->pVg) {
        print_line("");
        Rows physical = {{"GROUP", "PHYSICAL VOLUME", "STATE"}};
        for (const LVM_PV *pv = volume->pVg->pPvs; pv; pv = pv->pNext) {
            physical.push_back(
                {volume->pVg->szPath, pv->szPath, pv->status == LVM_PV_MISSING ? "missing" : "normal"});
        }
        print_table(physical);
    }
    const auto arrays = arrays_of(*volume);
    if (!arrays.empty()) {
        print_line("");
        print_table(array_rows(arrays));
    }
    for (const RAID_INFO *array : arrays) {
        print_line("");
        Rows members = member_rows(*array);
        for (auto &row : members)
            row.insert(row.begin(), &row == &members[0] ? "ARRAY" : array->szPath);
        print_table(members);
    }
    return int(Exit::kDone);
}

int health(const Session &session, const Args &args) {
    Volumes volumes;
    if (args.volume) {
        Volume volume = read_volume(parse_volume(*args.volume));
        if (VolumeInfoListPush(&volumes.list(), volume.get()) != 0) fail_storage("list the volumes");
        static_cast<void>(volume.release());
    } else {
        read_volumes(volumes);
    }
    bool all_healthy = true;
    Json documents = Json::array();
    Rows rows = {{"VOLUME", "STATE"}};
    for (const VOLUME_INFO_LIST *node = volumes.list(); node; node = node->pNext) {
        const Health found = health_of(*node->pInfo);
        all_healthy = all_healthy && found.flags == 0;
        documents.push_back({{"volume", node->pInfo->szPath},
                             {"healthy", found.flags == 0},
                             {"health", found.words()},
                             {"flags", found.flags},
                             {"writable", found.writable}});
        rows.push_back({node->pInfo->szPath, found.text()});
    }
    if (session.json) {
        print_json({{"healthy", all_healthy}, {"volumes", documents}});
    } else {
        print_table(rows);
    }
    return int(all_healthy ? Exit::kDone : Exit::kNotHealthy);
}

int mount(const Session &session, const Args &args) {
    const std::string path = parse_volume(args.path);
    std::string device = args.device;
    if (const std::string array = array_path(device); !array.empty()) device = array;
    // The name of a logical volume is a link, and says more than what it leads to.
    const std::string target = parse_device(session, device);
    if (access(system_path(session, device).c_str(), F_OK) != 0) {
        throw Failure(Exit::kNotFound, "there is no device " + escape(device) + ": " + reason_text(errno));
    }
    for (const Use &use : mounted_uses(session)) {
        if (use.device == target) refuse(escape(device) + " is " + use.what + " already");
    }
    FS_INFO *there = nullptr;
    clear_errors();
    if (FSInfoGet(path.c_str(), &there) < 0) fail_storage("find out what is mounted on " + path);
    if (const FileSystem fs(there); fs) {
        refuse(escape(fs->szDevice) + " is mounted on " + path + " already");
    }
    clear_errors();
    if (VolumeMount(device.c_str(), path.c_str()) != 0)
        fail_storage("mount " + escape(device) + " on " + path);
    if (session.json) print_json({{"volume", path}, {"device", device}, {"mounted", true}});
    record_event(session, MORV_EVENT_VOLUME_MOUNTED, {path});
    return int(Exit::kDone);
}

int umount(const Session &session, const Args &args) {
    const std::string path = parse_volume(args.path);
    FS_INFO *there = nullptr;
    clear_errors();
    if (FSInfoGet(path.c_str(), &there) < 0) fail_storage("find out what is mounted on " + path);
    const FileSystem fs(there);
    if (!fs) throw Failure(Exit::kNotFound, "nothing is mounted on " + escape(path));
    clear_errors();
    if (VolumeUnmount(path.c_str()) != 0) fail_storage("unmount " + escape(path));
    if (session.json) print_json({{"volume", path}, {"device", fs->szDevice}, {"mounted", false}});
    record_event(session, MORV_EVENT_VOLUME_UNMOUNTED, {path});
    return int(Exit::kDone);
}

int sort(const Session &session, const Args &) {
    VOLUME_MOUNT *found = nullptr;
    clear_errors();
    if (MORVMountVolAllEnum(&found) < 0) fail_storage("list the volumes that are mounted");
    const Mounts mounts(MORVMountVolInfoSort(found));
    Json documents = Json::array();
    Rows rows = {{"NUMBER", "VOLUME", "LOCATION", "DEVICE", "SIZE", "FREE", "MODE"}};
    for (const VOLUME_MOUNT *mount = mounts.get(); mount; mount = mount->pNext) {
        const bool known = mount->totalBytes > 0;
        documents.push_back({{"number", mount->number},
                             {"volume", mount->szMountPoint},
                             {"location", name_of(kLocations, mount->location)},
                             {"device", mount->szDevice},
                             {"size_bytes", known ? Json(mount->totalBytes) : Json(nullptr)},
                             {"free_bytes", known ? Json(mount->availableBytes) : Json(nullptr)},
                             {"read_only", mount->writable == 0}});
        rows.push_back({std::to_string(mount->number), mount->szMountPoint,
                        name_of(kLocations, mount->location), mount->szDevice,
                        bytes_text(known, mount->totalBytes), bytes_text(known, mount->availableBytes),
                        mount->writable ? "rw" : "ro"});
    }
    if (session.json) {
        print_json({{"mounts", documents}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

// The report of LVM itself, or the one in a file.
std::string read_report(const Session &session, const std::optional<std::string> &file) {
    if (!file) {
        char *text = nullptr;
        clear_errors();
        if (LVMReportGet(&text) != 0) fail_storage("ask LVM for its physical volumes");
        const std::unique_ptr<char, decltype(&free)> freed(text, free);
        return text;
    }
    std::string text;
    if (*file != "-") return read_content(find_target(session, *file));
    if (!read_all(STDIN_FILENO, text)) fail_system("read standard input");
    return text;
}

// The physical volumes that the groups had when the file was written last.
std::vector<std::string> former_volumes(const std::string &group) {
    LVM_VG_INFO *found = nullptr;
    std::vector<std::string> paths;
    // A file that cannot be read is replaced all the same.
    if (LVMVgInfoGet(group.c_str(), &found) != 1) return paths;
    const VolumeGroup freed(found);
    for (const LVM_PV *pv = found->pPvs; pv; pv = pv->pNext)
        paths.push_back(pv->szPath);
    return paths;
}

// The array of the volume that such a group has without further notice.
std::string usual_array(const std::string &group) {
    char volume[64];
    char array[64];
    const bool has_one = VolumePathSwitch(group.c_str(), VG_TO_VOLUME, volume, sizeof volume) == 0 &&
                         VolumePathSwitch(volume, VOLUME_TO_RAID, array, sizeof array) == 0;
    return has_one ? array : "";
}

// Of a physical volume whose disk is gone, LVM does not know the name. What is known of its group names it.
// Those that stay without one are left out, and counted.
size_t name_missing_volumes(std::vector<PhysicalVolume> &volumes) {
    std::set<std::string> taken;
    for (const PhysicalVolume &volume : volumes)
        taken.insert(volume.path);
    for (PhysicalVolume &volume : volumes) {
        if (!volume.path.empty()) continue;
        auto candidates = former_volumes(volume.group);
        candidates.push_back(usual_array(volume.group));
        for (const std::string &candidate : candidates) {
            if (candidate.empty() || !taken.insert(candidate).second) continue;
            volume.path = candidate;
            break;
        }
    }
    return std::erase_if(volumes, [](const PhysicalVolume &volume) { return volume.path.empty(); });
}

// The records of the library for them; the texts fit, as the report's parser has checked.
class GroupRecords {
  public:
    explicit GroupRecords(const std::vector<PhysicalVolume> &volumes) {
        std::map<std::string, LVM_VG_INFO *> known;
        std::map<LVM_VG_INFO *, LVM_PV *> last;
        for (const PhysicalVolume &volume : volumes) {
            LVM_VG_INFO *&group = known[volume.group];
            if (!group) {
                groups_.emplace_back();
                group = &groups_.back();
                copy(group->szPath, volume.group);
                if (groups_.size() > 1) groups_[groups_.size() - 2].pNext = group;
            }
            pvs_.emplace_back();
            LVM_PV *pv = &pvs_.back();
            copy(pv->szPath, volume.path);
            pv->status = volume.missing ? LVM_PV_MISSING : LVM_PV_NORMAL;
            LVM_PV *&end = last[group];
            (end ? end->pNext : group->pPvs) = pv;
            end = pv;
        }
    }
    const LVM_VG_INFO *first() const { return groups_.empty() ? nullptr : &groups_.front(); }

  private:
    template <size_t n>
    static void copy(char (&field)[n], const std::string &text) {
        memcpy(field, text.c_str(), std::min(n, text.size() + 1));
    }

    // They stay where they are as more come.
    std::deque<LVM_VG_INFO> groups_;
    std::deque<LVM_PV> pvs_;
};

int refresh_lvm(const Session &session, const Args &args) {
    const std::string name = !args.file          ? "LVM's answer"
                             : *args.file == "-" ? "standard input"
                                                 : escape(*args.file);
    LvmReport report = parse_lvm_report(read_report(session, args.file), name);
    const size_t nameless = name_missing_volumes(report.volumes);
    const GroupRecords groups(report.volumes);
    if (!session.dry_run) {
        const HeldSignals held;
        clear_errors();
        if (LVMStatusSet(groups.first()) != 0) fail_storage("write /tmp/lvm.status");
    }
    Json documents = Json::array();
    Rows rows = {{"GROUP", "PHYSICAL VOLUME", "STATE"}};
    for (const LVM_VG_INFO *group = groups.first(); group; group = group->pNext)
        documents.push_back(group_json(*group));
    for (const PhysicalVolume &volume : report.volumes)
        rows.push_back({volume.group, volume.path, volume.missing ? "missing" : "normal"});
    if (session.json) {
        print_json({{"groups", documents},
                    {"foreign_groups", report.foreign},
                    {"unknown_missing", nameless},
                    {"dry_run", session.dry_run}});
    } else if (session.dry_run) {
        print_table(rows);
    }
    for (const std::string &group : report.foreign)
        fprintf(stderr, "morvctl: note: the group %s is left out: its name is not vg and a number\n",
                escape(group).c_str());
    if (nameless > 0)
        fprintf(stderr,
                "morvctl: note: %zu missing physical volumes are left out: nobody knows where they were\n",
                nameless);
    return int(Exit::kDone);
}

}  // namespace

void add_volume_commands(CLI::App &family, Session &session) {
    const auto add =
        [&](const char *name, const char *description,
            int (*work)(const Session &session, const Args &args)) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        auto args = std::make_shared<Args>();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    const char *const path_help = "The volume, as /volume1";
    {
        auto [command, args] = add("list", "List the volumes, also those that are not mounted", list);
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        auto [command, args] = add("show", "Show what is known of a volume and all that lies under it", show);
        add_text(command, "PATH", args.path, path_help)->required();
    }
    {
        auto [command, args] =
            add("health", "Tell whether volumes are healthy, which exit code 0 says, too", health);
        add_text(command, "PATH", args.volume, "The volume; all without it");
    }
    {
        auto [command, args] = add("mount", "Mount a volume, with quotas", mount);
        add_text(command, "DEVICE", args.device, "What holds the file system, as /dev/md2")->required();
        add_text(command, "PATH", args.path, path_help)->required();
    }
    {
        auto [command, args] = add("umount", "Unmount a volume", umount);
        add_text(command, "PATH", args.path, path_help)->required();
    }
    add("sort", "List the volumes that are mounted, by number", sort);
    {
        auto [command, args] = add(
            "lvm-refresh", "Write down what LVM says of its groups, for all who ask after them", refresh_lvm);
        add_text(command, "FILE", args.file,
                 "LVM's report in JSON, or - for standard input; asks LVM without it");
        command.add_flag("--dry-run", session.dry_run, "Print what would be written, and write nothing");
    }
}

}  // namespace morvctl
