// What the families of arrays and volumes have in common: how arrays and devices are named and shown, and
// what they are in use for.
#pragma once

#include <morvsdk/fs.h>
#include <morvsdk/lvm.h>
#include <morvsdk/raid.h>
#include <morvsdk/volume.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "morvctl/containers.h"
#include "morvctl/families.h"
#include "morvctl/output.h"

namespace morvctl {

using Array = std::unique_ptr<RAID_INFO, Release<RAID_INFO, RAIDInfoFree>>;
using Superblocks = std::unique_ptr<RAID_SB_LIST, Release<RAID_SB_LIST, RAIDScanFree>>;
using FileSystem = std::unique_ptr<FS_INFO, Release<FS_INFO, FSInfoFree>>;
using VolumeGroup = std::unique_ptr<LVM_VG_INFO, Release<LVM_VG_INFO, LVMVgInfoFree>>;

// Throws for the library's call that has just failed.
[[noreturn]] void fail_storage(const std::string &what);

// The array that is meant by "/dev/md2", "md2" or "/dev/md/2", as "/dev/md2"; "" for another text.
std::string array_path(std::string_view text);

// The same; a text that names no array is refused.
std::string parse_array(const std::string &text);

// The system's own name of a device: links like those in "/dev/disk" are followed.
std::string parse_device(const Session &session, const std::string &text);

// The size of a device in bytes; fails when there is no such device.
uint64_t read_size(const std::string &device);

// All arrays that run, by number.
std::vector<std::string> array_paths(const Session &session);

// The array of that path; null, or a failure, when there is none.
Array find_array(const Session &session, const std::string &path);
Array read_array(const Session &session, const std::string &path);

// As a superblock has it; "" when mdadm does not tell.
std::string array_uuid(const std::string &path);

// Words that are keys of JSON documents, too: "in_sync" is shown as "in sync".
const char *level_name(int type);
const char *status_name(int status);
const char *state_name(int status);
std::string shown_word(std::string word);

// "1.8 TiB"
std::string size_text(uint64_t bytes);

int members_in_sync(const RAID_INFO &array);

// How much of a resync is done, from 0 to 1; less than 0 when that is not known.
double resync_share(const RAID_REBUILD &rebuild);

// "", "pending", "running" or "37.5%".
std::string resync_text(const RAID_REBUILD &rebuild);

// By name.
std::vector<const RAID_DISK *> sorted_members(const RAID_INFO &array);

Json array_json(const RAID_INFO &array);
Rows array_rows(const std::vector<const RAID_INFO *> &arrays);
Rows member_rows(const RAID_INFO &array);

// What a device is in use for, as a part of a sentence, and what ends that.
struct Use {
    std::string device;
    std::string what;
    std::string remedy;
};

// The uses of all devices: by the file systems that are mounted, also those on volume groups; as members of
// running arrays; as physical volumes.
std::vector<Use> mounted_uses(const Session &session);
std::vector<Use> member_uses(const Session &session);
std::vector<Use> group_uses();

// The uses that concern a device: those of itself, of its partitions, and of the disk that it is a partition
// of.
std::vector<Use> uses_of(const std::vector<Use> &all, const std::string &device);

// Refuses to touch a device that is in use.
void check_unused(const std::vector<Use> &all, const std::string &device);

// What a change will do.
struct Plan {
    std::vector<std::string> lines;  // for people
    Json document = Json::object();  // for programs
    bool asks = true;                // whether it needs to be confirmed
};

// Makes a change of what the plan says: with --dry-run prints that, else asks whether to go on. `yes` is the
// answer already. Who is asked takes time; so the plan is made once more then, and must be the same.
// `apply` completes the document. Answers the exit code.
int change_storage(const Session &session, bool yes, const std::function<Plan()> &make_plan,
                   const std::function<void(Json &document)> &apply);

}  // namespace morvctl
