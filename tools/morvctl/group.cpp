// morvctl group: which users belong together.
#include <morvsdk/error.h>

#include <algorithm>

#include "morvctl/accounts.h"
#include "morvctl/record_event.h"

namespace morvctl {

namespace {

struct Args {
    std::optional<std::string> name;
    std::string new_name;
    std::optional<std::string> gid;
    std::optional<std::string> description;
    std::optional<std::string> members;
    std::vector<std::string> added;
    std::vector<std::string> removed;
    bool domain = false;
    bool all = false;
    bool names = false;
};

void check_group_name(const std::string &name) {
    if (!BlMLIBIsGroupName(name.c_str())) {
        refuse("'" + escape(name) +
               "' is no name of a group: that has 1 to 15 letters, digits, '.', '-', '_' and blanks, no "
               "blank or "
               "'-' at its start and no blank at its end");
    }
}

std::string description_of(const Session &session, const std::string &name) {
    std::string text(256, '\0');
    for (;;) {
        clear_errors();
        const int length = MORVGroupDescGet(name.c_str(), text.data(), int(text.size()));
        if (length >= 0) {
            text.resize(size_t(length));
            return text;
        }
        if (MLIBErrGet() == ERR_NO_SUCH_GROUP) return "";
        if (MLIBErrGet() != ERR_NOT_ENOUGH_MEMORY || text.size() > (1U << 24)) {
            fail_account(session, "read the description of the group " + escape(name));
        }
        text.resize(text.size() * 4);
    }
}

struct Shown {
    std::string name;
    uint32_t gid;
    std::string description;
    std::vector<std::string> members;
};

Shown read_shown(const Session &session, const MORVGROUP &group) {
    Shown shown{group.szName, group.gid, description_of(session, group.szName), {}};
    if (group.gid != MORV_GROUP_NO_GID) shown.members = members_of(session, group.szName);
    return shown;
}

Json group_json(const Shown &group) {
    const bool is_domain = group.gid == MORV_GROUP_NO_GID;
    return {{"name", group.name},
            {"type", is_domain ? "domain" : "local"},
            {"gid", is_domain ? Json(nullptr) : Json(group.gid)},
            {"description", group.description},
            {"members", group.members}};
}

std::string gid_text(uint32_t gid) {
    return gid == MORV_GROUP_NO_GID ? "-" : std::to_string(gid);
}

int list(const Session &session, const Args &args) {
    exclude(args.domain, args.all, "--domain and --all");
    const int mask = args.all      ? MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN
                     : args.domain ? MORV_GROUP_DOMAIN
                                   : MORV_GROUP_LOCAL;
    Json groups = Json::array();
    std::vector<std::vector<std::string>> rows = {{"NAME", "GID", "MEMBERS", "DESCRIPTION"}};
    for (const std::string &name : group_names(session, mask, args.name.value_or(""))) {
        if (args.names && !session.json) {
            print_line(printable(name));
            continue;
        }
        const Group group = find_group(session, name);
        if (!group) continue;
        const Shown shown = read_shown(session, *group);
        if (session.json) {
            groups.push_back(group_json(shown));
        } else {
            rows.push_back(
                {shown.name, gid_text(shown.gid), std::to_string(shown.members.size()), shown.description});
        }
    }
    if (session.json) {
        print_json({{"groups", groups}});
    } else if (!args.names) {
        print_table(rows);
    }
    return int(Exit::kDone);
}

Group chosen_group(const Session &session, const Args &args) {
    if (args.name.has_value() == args.gid.has_value()) {
        throw Failure(Exit::kUsage, "GROUP or --gid is required, and not both");
    }
    if (args.name) return read_group(session, *args.name);
    MORVGROUP *group = nullptr;
    clear_errors();
    if (MORVGroupGetByGID(parse_number("the gid", *args.gid), &group) != 0) {
        fail_account(session, "read the group with the gid " + *args.gid);
    }
    return Group(group);
}

int show(const Session &session, const Args &args) {
    const Shown shown = read_shown(session, *chosen_group(session, args));
    if (session.json) {
        print_json({{"group", group_json(shown)}});
    } else {
        print_table({{"name", shown.name},
                     {"gid", gid_text(shown.gid)},
                     {"description", shown.description},
                     {"members", join_list(shown.members)}});
    }
    return int(Exit::kDone);
}

auto is_same_as(const std::string &name) {
    return [key = name_key(name)](const std::string &other) { return name_key(other) == key; };
}

// Adds members as they are spelled in the files. The library leaves out who is no user; here that is an
// error.
void add_members(const Session &session, std::vector<std::string> &members,
                 const std::vector<std::string> &names) {
    for (const std::string &name : names) {
        const std::string spelled = read_user(session, name)->szName;
        if (std::none_of(members.begin(), members.end(), is_same_as(spelled))) members.push_back(spelled);
    }
}

void write_group(const Session &session, const char *old_name, const std::string &name, uint32_t gid,
                 const std::vector<std::string> &members, const std::string &what) {
    MORVGROUP *record = nullptr;
    clear_errors();
    if (MORVGroupAlloc(&record, name.c_str(), gid, join_list(members).c_str()) != 0) fail_library("go on");
    const Group group(record);
    if (MORVGroupSet(old_name, group.get()) != 0) fail_account(session, what);
}

void write_description(const Session &session, const std::string &name, const std::string &text) {
    clear_errors();
    if (MORVGroupDescSet(name.c_str(), text.c_str()) != 0) {
        fail_account(session, "write the description of the group " + escape(name));
    }
}

Json changed_group(const Session &session, const std::string &name) {
    if (!session.json) return Json::object();
    return {{"group", group_json(read_shown(session, *read_group(session, name)))}};
}

int add(const Session &session, const Args &args) {
    const std::string &name = *args.name;
    check_group_name(name);
    if (args.description) check_field("the description", *args.description, Colon::kKept);
    change_accounts(session, {}, [&] {
        std::vector<std::string> members;
        add_members(session, members, args.added);
        const uint32_t gid = args.gid ? parse_number("the gid", *args.gid, MORV_GROUP_NO_GID - 1) : 0;
        MORVGROUP *other = nullptr;
        if (gid != 0 && MORVGroupGetByGID(gid, &other) == 0) {
            refuse("the gid " + *args.gid + " is that of " + escape(Group(other)->szName));
        }
        write_group(session, nullptr, name, gid, members, "add the group " + escape(name));
        if (args.description && !args.description->empty())
            write_description(session, name, *args.description);
        return changed_group(session, name);
    });
    record_event(session, MORV_EVENT_GROUP_ADDED, {name});
    return int(Exit::kDone);
}

int set(const Session &session, const Args &args) {
    const std::string &name = *args.name;
    if (args.description) check_field("the description", *args.description, Colon::kKept);
    change_accounts(session, {}, [&] {
        const Group old = read_group(session, name);
        std::vector<std::string> members;
        if (args.members) {
            add_members(session, members, split_list(*args.members));
        } else {
            members = split_list(old->szMembers);
        }
        add_members(session, members, args.added);
        for (const std::string &removed : args.removed) {
            if (std::erase_if(members, is_same_as(removed)) == 0) {
                throw Failure(Exit::kNotFound,
                              "the group " + escape(name) + " has no member " + escape(removed));
            }
        }
        if (args.members || !args.added.empty() || !args.removed.empty()) {
            write_group(session, old->szName, old->szName, old->gid, members,
                        "change the group " + escape(name));
        }
        if (args.description) write_description(session, name, *args.description);
        return changed_group(session, name);
    });
    record_event(session, MORV_EVENT_GROUP_CHANGED, {name});
    return int(Exit::kDone);
}

int rename(const Session &session, const Args &args) {
    check_group_name(args.new_name);
    change_accounts(session, {}, [&] {
        const Group old = read_group(session, *args.name);
        write_group(session, old->szName, args.new_name, old->gid, split_list(old->szMembers),
                    "rename the group " + escape(*args.name) + " to " + escape(args.new_name));
        return changed_group(session, args.new_name);
    });
    record_event(session, MORV_EVENT_GROUP_CHANGED, {renamed_text(*args.name, args.new_name)});
    return int(Exit::kDone);
}

int remove(const Session &session, const Args &args) {
    change_accounts(session, {}, [&] {
        clear_errors();
        if (MORVGroupDelete(args.name->c_str()) != 0) {
            fail_account(session, "delete the group " + escape(*args.name));
        }
        return Json{{"group", {{"name", *args.name}}}};
    });
    record_event(session, MORV_EVENT_GROUP_DELETED, {*args.name});
    return int(Exit::kDone);
}

}  // namespace

void add_group_commands(CLI::App &family, Session &session) {
    const auto add_command_for = [&](Kind kind, const char *name, const char *description, auto work) {
        return add_account_command<Args>(family, session, kind, name, description, work);
    };
    const auto add_name = [](CLI::App &command, Args &args) {
        return add_text(command, "GROUP", args.name, "The name");
    };
    const auto add_description = [](CLI::App &command, Args &args) {
        add_text(command, "--description", args.description, "What it is for")->type_name("TEXT");
    };
    {
        auto [command, args] = add_command_for(Kind::kReads, "list", "List the groups", list);
        add_text(command, "PREFIX", args.name, "Only names that begin so, in any letter case");
        command.add_flag("--domain", args.domain, "Those of the domain");
        command.add_flag("--all", args.all, "Those of the domain as well");
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        auto [command, args] = add_command_for(Kind::kReads, "show", "Show what is known of a group", show);
        add_name(command, args);
        add_text(command, "--gid", args.gid, "The one with this id")->type_name("N");
    }
    {
        auto [command, args] = add_command_for(Kind::kWrites, "add", "Add a group", add);
        add_name(command, args)->required();
        add_texts(command, "--member", args.added, "A member; may be given often")
            ->type_name("USER")
            ->expected(1)
            ->take_all();
        add_description(command, args);
        add_text(command, "--gid", args.gid, "The group id")->type_name("N");
    }
    {
        auto [command, args] = add_command_for(Kind::kWrites, "set", "Change a group", set);
        add_name(command, args)->required();
        add_text(command, "--members", args.members, "All members, with commas between")->type_name("USERS");
        add_texts(command, "--add-member", args.added, "One more member; may be given often")
            ->type_name("USER")
            ->expected(1)
            ->take_all();
        add_texts(command, "--remove-member", args.removed, "One member less; may be given often")
            ->type_name("USER")
            ->expected(1)
            ->take_all();
        add_description(command, args);
    }
    {
        auto [command, args] =
            add_command_for(Kind::kWrites, "rename", "Rename a group, also in the rights of shares", rename);
        add_name(command, args)->required();
        add_text(command, "NEW", args.new_name, "The new name")->required();
    }
    {
        auto [command, args] = add_command_for(Kind::kWrites, "delete",
                                               "Delete a group, also from the rights of shares", remove);
        add_name(command, args)->required();
    }
}

}  // namespace morvctl
