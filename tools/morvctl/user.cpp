// morvctl user: who has an account.
#include <morvsdk/error.h>
#include <string.h>

#include <map>
#include <set>

#include "morvctl/accounts.h"
#include "morvctl/record_event.h"
#include "morvctl/secret.h"
#include "morvctl/user_values.h"

namespace morvctl {

namespace {

struct Args {
    std::optional<std::string> name;
    std::string new_name;
    std::optional<std::string> uid;
    UserValues values;
    bool no_password_change = false;
    bool password_change = false;
    bool no_password = false;
    bool domain = false;
    bool all = false;
    bool names = false;
};

// The groups, and who is a member.
class Memberships {
  public:
    explicit Memberships(const Session &session) {
        for (const std::string &name : group_names(session, MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN)) {
            const Group group = find_group(session, name);
            if (!group) continue;
            if (group->gid != MORV_GROUP_NO_GID) names_.emplace(group->gid, name);
            for (const std::string &member : split_list(group->szMembers))
                groups_[name_key(member)].push_back(name);
        }
    }
    // "" when no group has the id.
    std::string name_of(uint32_t gid) {
        const auto known = names_.find(gid);
        if (known != names_.end()) return known->second;
        MORVGROUP *found = nullptr;
        const bool is_one = gid != MORV_GROUP_NO_GID && MORVGroupGetByGID(gid, &found) == 0;
        const Group group(found);
        return names_[gid] = is_one ? group->szName : "";
    }
    // Those of a user, sorted, the primary one included.
    std::vector<std::string> of(const MORVUSER &user) {
        const auto named = groups_.find(name_key(user.szName));
        std::set<std::string> names;
        if (named != groups_.end()) names.insert(named->second.begin(), named->second.end());
        names.insert(name_of(user.gid));
        names.erase("");
        return {names.begin(), names.end()};
    }

  private:
    std::map<uint32_t, std::string> names_;
    std::map<std::string, std::vector<std::string>> groups_;
};

const char *password_state(const MORVUSER &user) {
    if (!user.szPassword || !*user.szPassword) return "none";
    return strchr("!*", *user.szPassword) ? "locked" : "set";
}

bool is_expired(const MORVUSER &user) {
    return user.expireDay >= 0 && MORVUserIsExpired(user.expireDay) == 1;
}

Json user_json(const MORVUSER &user, Memberships &groups) {
    return {{"name", user.szName},
            {"type", user.type == MORV_USER_DOMAIN ? "domain" : "local"},
            {"uid", user.uid},
            {"gid", user.gid},
            {"group", groups.name_of(user.gid)},
            {"description", user.szDescription},
            {"home", user.szHome},
            {"shell", user.szShell},
            {"password", password_state(user)},
            {"no_password_change", user.noPasswordChange != 0},
            {"expire", expire_text(user.expireDay)},
            {"expired", is_expired(user)},
            {"privilege", user.privilege},
            {"extra", user.szExtra},
            {"groups", groups.of(user)}};
}

int list(const Session &session, const Args &args) {
    exclude(args.domain, args.all, "--domain and --all");
    const int mask = args.all      ? MORV_USER_LOCAL | MORV_USER_DOMAIN
                     : args.domain ? MORV_USER_DOMAIN
                                   : MORV_USER_LOCAL;
    const auto names = user_names(session, mask, args.name.value_or(""));
    if (args.names && !session.json) {
        for (const std::string &name : names)
            print_line(printable(name));
        return int(Exit::kDone);
    }
    Memberships groups(session);
    Json users = Json::array();
    std::vector<std::vector<std::string>> rows = {
        {"NAME", "UID", "GROUP", "PASSWORD", "EXPIRES", "DESCRIPTION"}};
    for (const std::string &name : names) {
        const User user = find_user(session, name);
        if (!user) continue;
        if (session.json) {
            users.push_back(user_json(*user, groups));
            continue;
        }
        rows.push_back(
            {user->szName, std::to_string(user->uid), groups.name_of(user->gid), password_state(*user),
             expire_text(user->expireDay) + (is_expired(*user) ? " (expired)" : ""), user->szDescription});
    }
    if (session.json) {
        print_json({{"users", users}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

User chosen_user(const Session &session, const Args &args) {
    if (args.name.has_value() == args.uid.has_value()) {
        throw Failure(Exit::kUsage, "USER or --uid is required, and not both");
    }
    if (args.name) return read_user(session, *args.name);
    MORVUSER *user = nullptr;
    clear_errors();
    if (MORVUserGetByUID(parse_number("the uid", *args.uid), &user) != 0) {
        fail_account(session, "read the user with the uid " + *args.uid);
    }
    return User(user);
}

int show(const Session &session, const Args &args) {
    const User user = chosen_user(session, args);
    Memberships groups(session);
    if (session.json) {
        print_json({{"user", user_json(*user, groups)}});
        return int(Exit::kDone);
    }
    const std::string group = groups.name_of(user->gid);
    print_table({{"name", user->szName},
                 {"type", user->type == MORV_USER_DOMAIN ? "domain" : "local"},
                 {"uid", std::to_string(user->uid)},
                 {"group", std::to_string(user->gid) + (group.empty() ? "" : " " + group)},
                 {"groups", join_list(groups.of(*user))},
                 {"description", user->szDescription},
                 {"home", user->szHome},
                 {"shell", user->szShell},
                 {"password", std::string(password_state(*user)) +
                                  (user->noPasswordChange ? ", the user may not change it" : "")},
                 {"expires", expire_text(user->expireDay) + (is_expired(*user) ? " (expired)" : "")},
                 {"privilege", std::to_string(user->privilege)},
                 {"extra", user->szExtra}});
    return int(Exit::kDone);
}

UserValues values_of(const Args &args) {
    UserValues values = args.values;
    if (args.no_password_change) values.no_password_change = "yes";
    if (args.password_change) values.no_password_change = "no";
    return values;
}

Json changed_user(const Session &session, const std::string &name) {
    if (!session.json) return Json::object();
    Memberships groups(session);
    return {{"user", user_json(*read_user(session, name), groups)}};
}

// What is not valid fails before anything is asked.
int add(const Session &session, const Args &args) {
    const std::string &name = *args.name;
    check_user_name(name);
    const Secret password = args.no_password ? random_password() : read_password(name);
    const std::string home = args.values.home.value_or("/var/services/homes/" + name);
    change_accounts(session, {home}, [&] {
        const User user = make_user(session, nullptr, name, password.c_str(), values_of(args));
        clear_errors();
        if (MORVUserSet(nullptr, user.get()) != 0) fail_account(session, "add the user " + escape(name));
        return changed_user(session, name);
    });
    record_event(session, MORV_EVENT_USER_ADDED, {name});
    return int(Exit::kDone);
}

int change_user(const Session &session, const std::string &old_name, const std::string &name,
                const UserValues &values, const std::string &what) {
    std::string shown;
    change_accounts(session, {}, [&] {
        const User old = read_user(session, old_name);
        const User user = make_user(session, old.get(), name.empty() ? old->szName : name, nullptr, values);
        clear_errors();
        if (MORVUserSet(old->szName, user.get()) != 0) fail_account(session, what);
        shown = renamed_text(old->szName, user->szName);
        return changed_user(session, user->szName);
    });
    record_event(session, MORV_EVENT_USER_CHANGED, {shown});
    return int(Exit::kDone);
}

int set(const Session &session, const Args &args) {
    exclude(args.no_password_change, args.password_change, "--no-password-change and --password-change");
    const UserValues values = values_of(args);
    return change_user(session, *args.name, "", values, "change the user " + escape(*args.name));
}

int rename(const Session &session, const Args &args) {
    check_user_name(args.new_name);
    return change_user(session, *args.name, args.new_name, {},
                       "rename the user " + escape(*args.name) + " to " + escape(args.new_name));
}

int passwd(const Session &session, const Args &args) {
    const std::string &name = *args.name;
    // Asked for when there is somebody to have it.
    if (!session.dry_run) read_user(session, name);
    const Secret password = read_password(name);
    change_accounts(session, {}, [&] {
        clear_errors();
        if (MORVUserSetPasswd(name.c_str(), password.c_str()) != 0) {
            fail_account(session, "set the password of " + escape(name));
        }
        return changed_user(session, name);
    });
    record_event(session, MORV_EVENT_USER_CHANGED, {name});
    return int(Exit::kDone);
}

int remove(const Session &session, const Args &args) {
    change_accounts(session, {}, [&] {
        clear_errors();
        if (MORVUserDelete(args.name->c_str()) != 0) {
            fail_account(session, "delete the user " + escape(*args.name));
        }
        return Json{{"user", {{"name", *args.name}}}};
    });
    record_event(session, MORV_EVENT_USER_DELETED, {*args.name});
    return int(Exit::kDone);
}

void add_value_options(CLI::App &command, Args &args) {
    UserValues &values = args.values;
    add_text(command, "--description", values.description, "Who it is")->type_name("TEXT");
    add_text(command, "--home", values.home, "The home folder")->type_name("PATH");
    add_text(command, "--shell", values.shell, "The login shell")->type_name("PATH");
    add_text(command, "--uid", values.uid, "The user id")->type_name("N");
    add_text(command, "--gid", values.gid, "The primary group, its id or name")->type_name("GROUP");
    add_text(command, "--expire", values.expire, "The account's last day, yyyy/mm/dd, or never")
        ->type_name("DATE");
    command.add_flag("--no-password-change", args.no_password_change, "The user may not change the password");
    add_text(command, "--privilege", values.privilege, "The privileges, a bit mask")->type_name("N");
    add_text(command, "--extra", values.extra, "Further text of /etc/morvuser.conf")->type_name("TEXT");
}

}  // namespace

void add_user_commands(CLI::App &family, Session &session) {
    const auto add_command_for = [&](Kind kind, const char *name, const char *description, auto work) {
        return add_account_command<Args>(family, session, kind, name, description, work);
    };
    const auto add_name = [](CLI::App &command, Args &args) {
        return add_text(command, "USER", args.name, "The name");
    };
    {
        auto [command, args] = add_command_for(Kind::kReads, "list", "List the users", list);
        add_text(command, "PREFIX", args.name, "Only names that begin so, in any letter case");
        command.add_flag("--domain", args.domain, "Those of the domain");
        command.add_flag("--all", args.all, "Those of the domain as well");
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        auto [command, args] = add_command_for(Kind::kReads, "show", "Show what is known of a user", show);
        add_name(command, args);
        add_text(command, "--uid", args.uid, "The one with this id")->type_name("N");
    }
    {
        auto [command, args] =
            add_command_for(Kind::kWrites, "add",
                            "Add a user; the password is asked for, or the line on standard input", add);
        add_name(command, args)->required();
        add_value_options(command, args);
        command.add_flag("--no-password", args.no_password,
                         "A password that nobody knows: no login until 'user passwd'");
    }
    {
        auto [command, args] = add_command_for(Kind::kWrites, "set", "Change a user", set);
        add_name(command, args)->required();
        add_value_options(command, args);
        command.add_flag("--password-change", args.password_change, "The user may change the password");
    }
    {
        auto [command, args] = add_command_for(
            Kind::kWrites, "rename", "Rename a user, also in groups and rights; the home stays", rename);
        add_name(command, args)->required();
        add_text(command, "NEW", args.new_name, "The new name")->required();
    }
    {
        auto [command, args] =
            add_command_for(Kind::kWrites, "passwd",
                            "Set a password; it is asked for, or the line on standard input", passwd);
        add_name(command, args)->required();
    }
    {
        auto [command, args] = add_command_for(
            Kind::kWrites, "delete", "Delete a user, also from groups and rights; the home stays", remove);
        add_name(command, args)->required();
    }
    {
        auto [command, args] =
            add_account_command<ImportArgs>(family, session, Kind::kWrites, "import",
                                            "Add or change the users of a table, all or none", import_users);
        add_text(command, "FILE", args.file, "The table (CSV), - for standard input")->required();
        command.add_flag("--no-password", args.no_password,
                         "New users may lack a password: no login until 'user passwd'");
    }
    {
        auto [command, args] = add_account_command<ExportArgs>(
            family, session, Kind::kWrites, "export", "Print the local users as a table, without passwords",
            export_users);
        add_text(command, "FILE", args.file, "Write it to this file");
    }
}

}  // namespace morvctl
