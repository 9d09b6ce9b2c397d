// morvctl raid: the arrays that disks are joined to.
#include <morvsdk/disk.h>
#include <morvsdk/error.h>

#include "morvctl/raid_commands.h"
#include "morvctl/storage.h"

namespace morvctl {

namespace {

int list(const Session &session, const RaidArgs &args) {
    Json arrays = Json::array();
    std::vector<Array> read;
    std::vector<const RAID_INFO *> shown;
    std::optional<Failure> failure;
    for (const std::string &path : array_paths(session)) {
        if (args.names && !session.json) {
            print_line(path);
            continue;
        }
        try {
            // It may have gone meanwhile.
            Array array = find_array(session, path);
            if (!array) continue;
            arrays.push_back(array_json(*array));
            shown.push_back(array.get());
            read.push_back(std::move(array));
        } catch (const Failure &unreadable) {
            // The others are wanted all the more.
            arrays.push_back({{"device", path}, {"error", unreadable.what()}});
            if (!failure) failure = unreadable;
        }
    }
    if (session.json) {
        print_json({{"arrays", arrays}});
    } else if (!args.names) {
        print_table(array_rows(shown));
    }
    if (failure) throw Failure(*failure);
    return int(Exit::kDone);
}

int show(const Session &session, const RaidArgs &args) {
    const std::string path = parse_array(args.array);
    if (args.watch) return watch_array(session, path);
    const Array array = read_array(session, path);
    const std::string uuid = array_uuid(path);
    const auto uses = uses_of(mounted_uses(session), path);
    if (session.json) {
        Json document = array_json(*array);
        document["uuid"] = uuid.empty() ? Json(nullptr) : Json(uuid);
        document["uses"] = Json::array();
        for (const Use &use : uses)
            document["uses"].push_back(use.what);
        print_json({{"array", document}});
        return int(Exit::kDone);
    }
    std::string used;
    for (const Use &use : uses)
        used.append(used.empty() ? "" : ", ").append(use.what);
    const std::string resync = resync_text(array->rebuild);
    print_table({{"array", path},
                 {"level", level_name(array->type)},
                 {"status", status_name(array->status)},
                 {"size", size_text(array->deviceSize)},
                 {"of each member", size_text(array->componentSize)},
                 {"members", std::to_string(members_in_sync(*array)) + " of " +
                                 std::to_string(array->raidDisks) + " in sync"},
                 {"resync", resync.empty() ? "none" : resync},
                 {"uuid", uuid.empty() ? "unknown" : uuid},
                 {"use", used.empty() ? "not mounted" : used}});
    print_line("");
    print_table(member_rows(*array));
    return int(Exit::kDone);
}

int scan(const Session &session, const RaidArgs &args) {
    Json superblocks = Json::array();
    Rows rows = {{"DEVICE", "ARRAY", "LEVEL", "SLOTS", "UUID"}};
    std::vector<std::string> devices;
    for (const std::string &text : args.devices)
        devices.push_back(parse_device(session, text));
    for (const std::string &device : devices) {
        read_size(device);
        // One by one: a record does not say where it is from.
        List list;
        list.push(device);
        RAID_SB_LIST *found = nullptr;
        clear_errors();
        if (RAIDScan(list.get(), args.expansion ? RAID_SCAN_EXPANSION : RAID_SCAN_ALL, &found) < 0) {
            fail_storage("look for a superblock on " + device);
        }
        const Superblocks freed(found);
        for (const RAID_SB_LIST *node = found; node; node = node->pNext) {
            const RAID_SB &sb = *node->pSB;
            superblocks.push_back({{"device", device},
                                   {"array", sb.szPath},
                                   {"level", level_name(sb.type)},
                                   {"slots", sb.devices},
                                   {"uuid", sb.szUUID}});
            rows.push_back({device, sb.szPath, level_name(sb.type), std::to_string(sb.devices), sb.szUUID});
        }
    }
    if (session.json) {
        print_json({{"superblocks", superblocks}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

using Work = int (*)(const Session &session, const RaidArgs &args);

void add_number(CLI::App &command, const char *name, int &value, int least, const char *description) {
    command.add_option(name, value, description)
        ->type_name("N")
        ->check(CLI::Range(least, 10000).description(""));
}

}  // namespace

void add_raid_commands(CLI::App &family, Session &session) {
    const auto add = [&](const char *name, const char *description,
                         Work work) -> std::pair<CLI::App &, RaidArgs &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        auto args = std::make_shared<RaidArgs>();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    const auto add_change = [&](const char *name, const char *description,
                                Work work) -> std::pair<CLI::App &, RaidArgs &> {
        auto [command, args] = add(name, description, work);
        command.add_flag("--dry-run", session.dry_run, "Say what would be done, and do nothing");
        command.add_flag("--yes", args.yes, "Do not ask whether to go on");
        add_text(command, "ARRAY", args.array, "The array, as /dev/md2")->required();
        return {command, args};
    };
    {
        auto [command, args] = add("list", "List the arrays that run", list);
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        auto [command, args] = add("show", "Show what is known of an array and its members", show);
        add_text(command, "ARRAY", args.array, "The array, as /dev/md2")->required();
        command.add_flag("--watch", args.watch, "Follow its resync until none runs");
    }
    {
        auto [command, args] =
            add_change("create", "Make an array; what its members hold is lost", create_array);
        add_text(command, "--level", args.level, "raid0, raid1, raid5, raid6 or linear")
            ->type_name("LEVEL")
            ->required();
        add_number(command, "--devices", args.slots, 1,
                   "Member slots, more than are filled for missing ones (default: those filled)");
        add_number(command, "--spares", args.spares, 0, "So many of the members are spares (default 0)");
        add_texts(command, "MEMBER", args.devices, "The devices, as /dev/sda3")->required();
    }
    {
        auto [command, args] = add_change("add", "Add a member; what it holds is lost", add_member);
        args.devices.resize(1);
        add_text(command, "MEMBER", args.devices[0], "The device, as /dev/sda3")->required();
        command.add_flag("--force", args.force, "Do not check first whether it is large enough");
    }
    add_change("stop", "Stop an array; its members keep what it holds", stop_array);
    add_change("remove", "Stop an array and wipe its members; what it holds is lost", remove_array);
    {
        auto [command, args] =
            add_change("expand", "Use more of each member, or spares as further members", expand_array);
        add_text(command, "--size", args.size, "Use so much of each member, or max (default)")
            ->type_name("KIB");
        add_number(command, "--devices", args.slots, 1, "So many member slots");
    }
    {
        auto [command, args] =
            add_change("assemble", "Start an array of members that it has", assemble_array);
        add_text(command, "--uuid", args.uuid, "Its UUID; without it that of all members")->type_name("UUID");
        add_texts(command, "MEMBER", args.devices, "The devices, as /dev/sda3")->required();
    }
    {
        auto [command, args] = add("scan", "Tell of which array devices are members", scan);
        add_texts(command, "DEVICE", args.devices, "The devices, as /dev/sda3")->required();
        command.add_flag("--expansion", args.expansion, "Only arrays of expansion enclosures");
    }
}

}  // namespace morvctl
