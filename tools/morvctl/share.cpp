// morvctl share: which folders are shared, and who may do what in them.
#include <morvsdk/error.h>
#include <stdio.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>

#include "morvctl/accounts.h"
#include "morvctl/record_event.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

struct Args {
    std::string name;
    std::string new_name;
    std::optional<std::string> prefix;
    std::optional<std::string> pattern;
    std::optional<std::string> mount;
    std::optional<std::string> path;
    std::optional<std::string> comment;
    std::optional<std::string> access;
    std::optional<std::string> read;
    std::optional<std::string> write;
    std::optional<std::string> deny;
    bool hidden = false;
    bool visible = false;
    bool ftp_no_list = false;
    bool ftp_no_modify = false;
    bool ftp_no_download = false;
    bool ftp_all = false;
    bool names = false;
    std::vector<std::string> users;
    std::string action = "status";
};

constexpr struct {
    const char *name;
    int32_t type;
} kAccess[] = {{"ro", MORV_SHARE_READ_ONLY}, {"rw", MORV_SHARE_READ_WRITE}, {"none", MORV_SHARE_NO_ACCESS}};

const char *access_name(int32_t type) {
    for (const auto &access : kAccess) {
        if (access.type == type) return access.name;
    }
    return "unknown";
}

constexpr struct {
    const char *name;
    int32_t flag;
    bool Args::*wanted;
} kFtp[] = {{"no-list", MORV_SHARE_FTP_NO_LIST, &Args::ftp_no_list},
            {"no-modify", MORV_SHARE_FTP_NO_MODIFY, &Args::ftp_no_modify},
            {"no-download", MORV_SHARE_FTP_NO_DOWNLOAD, &Args::ftp_no_download}};

std::vector<std::string> ftp_names(int32_t flags) {
    std::vector<std::string> names;
    for (const auto &ftp : kFtp) {
        if (flags & ftp.flag) names.push_back(ftp.name);
    }
    return names;
}

Json share_json(const MORVSHARE &share) {
    return {{"name", share.szName},
            {"path", share.szPath},
            {"comment", share.szComment},
            {"access", access_name(share.accessType)},
            {"read", split_list(share.szReadList)},
            {"write", split_list(share.szWriteList)},
            {"deny", split_list(share.szInvalidUsers)},
            {"hidden", share.browseable == 0},
            {"ftp", ftp_names(share.ftpFlags)}};
}

std::vector<std::string> share_names(const Session &session, const Args &args) {
    List list;
    clear_errors();
    const int count = args.prefix    ? MORVShareEnumByPrefix(list.address(), args.prefix->c_str())
                      : args.pattern ? MORVShareEnumByRegex(list.address(), args.pattern->c_str())
                      : args.mount   ? MORVShareEnumByMntPath(list.address(), args.mount->c_str())
                                     : MORVShareEnum(list.address(), 0);
    if (count < 0 && args.pattern && MLIBErrGet() == ERR_BAD_PARAMETERS) {
        refuse("'" + escape(*args.pattern) + "' is no regular expression");
    }
    if (count < 0) fail_account(session, "read the shares");
    return list.items();
}

int list(const Session &session, const Args &args) {
    exclude(args.prefix && (args.pattern || args.mount), true, "--prefix, --regex and --mount");
    exclude(args.pattern.has_value(), args.mount.has_value(), "--regex and --mount");
    Json shares = Json::array();
    std::vector<std::vector<std::string>> rows = {{"NAME", "PATH", "ACCESS", "", "COMMENT"}};
    for (const std::string &name : share_names(session, args)) {
        if (args.names && !session.json) {
            print_line(printable(name));
            continue;
        }
        MORVSHARE *record = nullptr;
        clear_errors();
        if (MORVShareGet(name.c_str(), &record) != 0) {
            if (MLIBErrGet() == ERR_NO_SUCH_SHARE) continue;
            fail_account(session, "read the share " + escape(name));
        }
        const Share share(record);
        if (session.json) {
            shares.push_back(share_json(*share));
        } else {
            rows.push_back({share->szName, share->szPath, access_name(share->accessType),
                            share->browseable ? "" : "hidden", share->szComment});
        }
    }
    if (session.json) {
        print_json({{"shares", shares}});
    } else if (!args.names) {
        print_table(rows);
    }
    return int(Exit::kDone);
}

int show(const Session &session, const Args &args) {
    const Share share = read_share(session, args.name);
    if (session.json) {
        print_json({{"share", share_json(*share)}});
    } else {
        print_table({{"name", share->szName},
                     {"path", share->szPath},
                     {"comment", share->szComment},
                     {"access", access_name(share->accessType)},
                     {"read", share->szReadList},
                     {"write", share->szWriteList},
                     {"deny", share->szInvalidUsers},
                     {"hidden", share->browseable ? "no" : "yes"},
                     {"ftp", join_list(ftp_names(share->ftpFlags))}});
    }
    return int(Exit::kDone);
}

// The entries of a rights list. The library leaves out what is no user or group; here that is an error.
std::string check_list(const Session &session, const std::string &list) {
    const auto entries = split_list(list);
    for (const std::string &entry : entries) {
        if (entry.starts_with('@')) {
            read_group(session, entry.substr(1));
        } else {
            read_user(session, entry);
        }
    }
    return join_list(entries);
}

// The three rights lists of a share.
struct Rights {
    std::string deny;
    std::string write;
    std::string read;
};

// Nobody can have two rights by name. By a group somebody may have others than by name: that is said, in
// case it is not meant.
Json check_rights(const Session &session, const Rights &rights) {
    clear_errors();
    const int answer = UserCheckRights(rights.deny.c_str(), rights.write.c_str(), rights.read.c_str());
    if (answer < 0) fail_account(session, "check the rights");
    if (answer < 2) return Json::array();
    const std::pair<std::string, const std::string &> lists[] = {
        {"deny", rights.deny}, {"write", rights.write}, {"read", rights.read}};
    std::map<std::string, std::string> named;
    std::map<std::string, std::string> all;
    std::set<std::string> conflicts;
    for (const auto &[right, list] : lists) {
        for (const std::string &entry : split_list(list)) {
            const auto [other, is_new] = named.emplace(name_key(entry), right);
            if (!is_new)
                refuse(escape(entry) + " stands in the lists of " + other->second + " and of " + right);
            const auto users =
                entry.starts_with('@') ? members_of(session, entry.substr(1)) : std::vector{entry};
            for (const std::string &user : users) {
                if (all.emplace(name_key(user), right).first->second != right) conflicts.insert(user);
            }
        }
    }
    return conflicts;
}

int32_t parse_access(const std::string &text) {
    for (const auto &access : kAccess) {
        if (text == access.name) return access.type;
    }
    throw Failure(Exit::kUsage, "--access is ro, rw or none, not '" + escape(text) + "'");
}

// What the lists say of everybody, who is "@users"; 0 when they do not.
int32_t access_by_lists(const Rights &rights) {
    const auto holds_all = [](const std::string &list) {
        const auto entries = split_list(list);
        return std::any_of(entries.begin(), entries.end(),
                           [](const std::string &entry) { return name_key(entry) == "@USERS"; });
    };
    return holds_all(rights.deny)    ? MORV_SHARE_NO_ACCESS
           : holds_all(rights.write) ? MORV_SHARE_READ_WRITE
           : holds_all(rights.read)  ? MORV_SHARE_READ_ONLY
                                     : 0;
}

int32_t access_of(const Args &args, const MORVSHARE *old, const Rights &rights) {
    const int32_t by_lists = access_by_lists(rights);
    if (!args.access) return old ? old->accessType : by_lists ? by_lists : int32_t{MORV_SHARE_NO_ACCESS};
    const int32_t access = parse_access(*args.access);
    if ((args.deny || args.write || args.read) && by_lists != 0 && by_lists != access) {
        refuse("--access " + *args.access + " and the list with @users contradict each other");
    }
    return access;
}

void check_share_name(const std::string &name) {
    if (!BlMLIBIsShareName(name.c_str())) {
        refuse("'" + escape(name) +
               "' is no name of a share: that has 1 to 32 letters, digits, '.', '-', '_' and blanks, no "
               "blank or "
               "'-' at its start and no blank at its end");
    }
    clear_errors();
    const auto kept = [&](const char *why) { refuse("the name " + escape(name) + " is " + why); };
    switch (ShareNameCheck(name.c_str())) {
        case MORV_SHARE_NAME_FREE:
            return;
        case MORV_SHARE_NAME_SERVICE:
            kept("that of the folder of a service");
            break;
        case MORV_SHARE_NAME_USB:
            kept("kept for USB disks");
            break;
        case MORV_SHARE_NAME_SATA:
            kept("kept for disks that are attached");
            break;
        default:
            kept("kept for the system");
    }
}

// Writes a share: `old`, or a new one when that is null, with the values of the command line.
Json write_share(const Session &session, const MORVSHARE *old, const std::string &name, const Args &args,
                 const std::string &what) {
    const auto text = [&](const std::optional<std::string> &value, const char *former) {
        return value ? *value : std::string(old ? former : "");
    };
    const auto list_text = [&](const std::optional<std::string> &value, const char *former) {
        return value ? check_list(session, *value) : std::string(old ? former : "");
    };
    std::string spelled = name;
    std::string comment = text(args.comment, old ? old->szComment : "");
    std::string path = text(args.path, old ? old->szPath : "");
    check_field("the comment", comment, Colon::kKept);
    check_field("the path", path, Colon::kKept);
    Rights rights{list_text(args.deny, old ? old->szInvalidUsers : ""),
                  list_text(args.write, old ? old->szWriteList : ""),
                  list_text(args.read, old ? old->szReadList : "")};
    Json conflicts = Json::array();
    if (args.deny || args.write || args.read) conflicts = check_rights(session, rights);
    MORVSHARE share = {};
    share.szName = spelled.data();
    share.szComment = comment.data();
    share.szPath = path.data();
    share.szInvalidUsers = rights.deny.data();
    share.szWriteList = rights.write.data();
    share.szReadList = rights.read.data();
    share.accessType = access_of(args, old, rights);
    share.browseable = args.hidden ? 0 : args.visible || !old ? 1 : old->browseable;
    share.ftpFlags = old && !args.ftp_all ? old->ftpFlags : 0;
    for (const auto &ftp : kFtp) {
        if (args.*ftp.wanted) share.ftpFlags |= ftp.flag;
    }
    clear_errors();
    if (MORVShareSet(old ? old->szName : nullptr, &share) != 0) fail_account(session, what);
    Json document = Json::object();
    if (session.json) document["share"] = share_json(*read_share(session, name));
    if (!conflicts.empty()) {
        document["conflicts"] = conflicts;
        std::string some = escape(conflicts[0].get<std::string>());
        if (conflicts.size() > 1) some += " and " + std::to_string(conflicts.size() - 1) + " more";
        fprintf(stderr,
                "morvctl: note: lists of different rights hold %s: no access counts first, then writing, "
                "then reading\n",
                some.c_str());
    }
    return document;
}

int add(const Session &session, const Args &args) {
    if (args.access) parse_access(*args.access);
    change_accounts(session, {*args.path}, [&] {
        check_share_name(args.name);
        return write_share(session, nullptr, args.name, args, "add the share " + escape(args.name));
    });
    record_event(session, MORV_EVENT_SHARE_ADDED, {args.name, *args.path});
    return int(Exit::kDone);
}

int set(const Session &session, const Args &args) {
    exclude(args.hidden, args.visible, "--hidden and --visible");
    if (args.access) parse_access(*args.access);
    std::vector<std::string> folders;
    if (args.path) folders.push_back(*args.path);
    change_accounts(session, folders, [&] {
        const Share old = read_share(session, args.name);
        return write_share(session, old.get(), old->szName, args, "change the share " + escape(args.name));
    });
    record_event(session, MORV_EVENT_SHARE_CHANGED, {args.name});
    return int(Exit::kDone);
}

int rename(const Session &session, const Args &args) {
    change_accounts(session, {}, [&] {
        const Share old = read_share(session, args.name);
        if (name_key(old->szName) != name_key(args.new_name)) check_share_name(args.new_name);
        return write_share(session, old.get(), args.new_name, args,
                           "rename the share " + escape(args.name) + " to " + escape(args.new_name));
    });
    record_event(session, MORV_EVENT_SHARE_CHANGED, {renamed_text(args.name, args.new_name)});
    return int(Exit::kDone);
}

int remove(const Session &session, const Args &args) {
    change_accounts(session, {}, [&] {
        clear_errors();
        if (MORVShareDelete(args.name.c_str()) != 0) {
            fail_account(session, "delete the share " + escape(args.name));
        }
        return Json{{"share", {{"name", args.name}}}};
    });
    record_event(session, MORV_EVENT_SHARE_DELETED, {args.name});
    return int(Exit::kDone);
}

int print_rights(const Session &session, const Args &args) {
    const Share share = read_share(session, args.name);
    auto users = args.users;
    if (users.empty()) users = user_names(session, MORV_USER_LOCAL | MORV_USER_DOMAIN_USED);
    Json rights = Json::array();
    std::vector<std::vector<std::string>> rows = {{"USER", "RIGHT"},
                                                  {"(everybody)", access_name(share->accessType)}};
    for (const std::string &name : users) {
        const User user = read_user(session, name);
        std::string buffer(strlen(user->szName) + 16, '\0');
        clear_errors();
        const int right = ParseRights(share.get(), user->szName, buffer.data(), int(buffer.size()));
        if (right < 0) fail_account(session, "find the rights of " + escape(name));
        rights.push_back({{"user", user->szName}, {"right", access_name(right)}});
        rows.push_back({user->szName, access_name(right)});
    }
    if (session.json) {
        print_json({{"share", share_json(*share)}, {"rights", rights}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

int rights(const Session &session, const Args &args) {
    const bool changes = args.read || args.write || args.deny || args.access;
    if (changes && !args.users.empty()) {
        throw Failure(Exit::kUsage, "USER asks for rights, --read, --write, --deny and --access change them");
    }
    return changes ? set(session, args) : print_rights(session, args);
}

// The bins that there are.
std::vector<std::string> recycle_bins(const Session &session) {
    std::vector<std::string> bins;
    const auto add_bin = [&](const std::string &folder) {
        struct stat st;
        const std::string bin = folder + "/#recycle";
        if (stat(system_path(session, bin).c_str(), &st) == 0 && S_ISDIR(st.st_mode)) bins.push_back(bin);
    };
    for (const std::string &name : share_names(session, {}))
        add_bin(read_share(session, name)->szPath);
    for (const std::string &name : user_names(session, MORV_USER_LOCAL))
        add_bin(read_user(session, name)->szHome);
    std::sort(bins.begin(), bins.end());
    bins.erase(std::unique(bins.begin(), bins.end()), bins.end());
    return bins;
}

int recycle(const Session &session, const Args &args) {
    Json document = {{"dry_run", session.dry_run}};
    clear_errors();
    if (args.action == "clean") {
        prepare(session);
        const auto bins = recycle_bins(session);
        if (session.dry_run && !session.json) {
            for (const std::string &bin : bins)
                print_line("folder " + escape(bin) + ": emptied");
        }
        document["bins"] = bins;
        clear_errors();
        if (!session.dry_run && MORVShareRecycleClean() != 0) {
            if (MLIBErrGet() == ERR_OP_FAILURE) refuse("the recycle bins are being emptied already");
            fail_account(session, "empty the recycle bins");
        }
    } else if (args.action == "stop") {
        if (!session.dry_run && MORVShareRecycleCleanStop() != 0) {
            fail_account(session, "stop emptying the recycle bins");
        }
    } else if (args.action != "status") {
        throw Failure(Exit::kUsage, "'" + escape(args.action) + "' is none of clean, stop and status");
    }
    const int running = MORVShareRecycleCleanStatusGet();
    if (running < 0) fail_account(session, "find out about the recycle bins");
    document["running"] = running == 1;
    if (session.json) {
        print_json(document);
    } else if (args.action == "status") {
        print_line(running == 1 ? "the recycle bins are being emptied" : "nothing is being emptied");
    }
    return int(Exit::kDone);
}

void add_value_options(CLI::App &command, Args &args) {
    add_text(command, "--comment", args.comment, "What it is for")->type_name("TEXT");
    add_text(command, "--access", args.access, "What everybody may do: ro, rw or none")->type_name("ACCESS");
}

void add_right_options(CLI::App &command, Args &args) {
    add_text(command, "--read", args.read, "Who may read")->type_name("LIST");
    add_text(command, "--write", args.write, "Who may read and write")->type_name("LIST");
    add_text(command, "--deny", args.deny, "Who is refused; a LIST has users and @groups with commas between")
        ->type_name("LIST");
}

void add_flag_options(CLI::App &command, Args &args) {
    command.add_flag("--hidden", args.hidden, "Do not list it to clients");
    command.add_flag("--ftp-no-list", args.ftp_no_list, "Over FTP, no listing of folders");
    command.add_flag("--ftp-no-modify", args.ftp_no_modify, "Over FTP, no changes");
    command.add_flag("--ftp-no-download", args.ftp_no_download, "Over FTP, no reading");
}

}  // namespace

void add_share_commands(CLI::App &family, Session &session) {
    const auto add_command_for = [&](Kind kind, const char *name, const char *description, auto work) {
        return add_account_command<Args>(family, session, kind, name, description, work);
    };
    const auto add_name = [](CLI::App &command, Args &args) {
        add_text(command, "SHARE", args.name, "The name")->required();
    };
    {
        auto [command, args] = add_command_for(Kind::kReads, "list", "List the shares", list);
        add_text(command, "--prefix", args.prefix, "Only names that begin so, in any letter case")
            ->type_name("TEXT");
        add_text(command, "--regex", args.pattern, "Only names that match this")->type_name("PATTERN");
        add_text(command, "--mount", args.mount, "Only folders below this")->type_name("PATH");
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        auto [command, args] = add_command_for(Kind::kReads, "show", "Show what is known of a share", show);
        add_name(command, args);
    }
    {
        auto [command, args] =
            add_command_for(Kind::kWrites, "add", "Share a folder, which is made if need be", add);
        add_name(command, args);
        add_text(command, "--path", args.path, "The folder")->type_name("PATH")->required();
        add_value_options(command, args);
        add_right_options(command, args);
        add_flag_options(command, args);
    }
    {
        auto [command, args] = add_command_for(Kind::kWrites, "set", "Change a share", set);
        add_name(command, args);
        add_text(command, "--path", args.path, "Move the folder there")->type_name("PATH");
        add_value_options(command, args);
        add_right_options(command, args);
        add_flag_options(command, args);
        command.add_flag("--visible", args.visible, "List it to clients");
        command.add_flag("--ftp-all", args.ftp_all, "No restrictions of FTP but those given with this");
    }
    {
        auto [command, args] =
            add_command_for(Kind::kWrites, "rename", "Rename a share; the folder stays", rename);
        add_name(command, args);
        add_text(command, "NEW", args.new_name, "The new name")->required();
    }
    {
        auto [command, args] = add_command_for(
            Kind::kWrites, "delete", "Delete a share with its folder and all that is in it", remove);
        add_name(command, args);
    }
    {
        auto [command, args] =
            add_command_for(Kind::kWrites, "rights", "Show who may do what in a share, or change it", rights);
        add_name(command, args);
        add_texts(command, "USER", args.users, "Show the rights of these; all without any");
        add_text(command, "--access", args.access, "What everybody may do: ro, rw or none")
            ->type_name("ACCESS");
        add_right_options(command, args);
    }
    {
        auto [command, args] =
            add_command_for(Kind::kReads, "recycle",
                            "Empty all recycle bins, stop that, or tell whether it is going on", recycle);
        add_text(command, "ACTION", args.action, "clean, stop or status");
        command.add_flag("--dry-run", session.dry_run, "Name the bins and empty none");
    }
}

}  // namespace morvctl
