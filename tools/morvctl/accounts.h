// What the families of users, groups and shares have in common.
#pragma once

#include <morvsdk/group.h>
#include <morvsdk/share.h>
#include <morvsdk/user.h>

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "morvctl/containers.h"
#include "morvctl/families.h"
#include "morvctl/output.h"

namespace morvctl {

using User = std::unique_ptr<MORVUSER, Release<MORVUSER, MORVUserFree>>;
using Group = std::unique_ptr<MORVGROUP, Release<MORVGROUP, MORVGroupFree>>;
using Share = std::unique_ptr<MORVSHARE, Release<MORVSHARE, MORVShareFree>>;

// The files that accounts and shares are kept in.
inline constexpr const char *kUserFiles[] = {"/etc/passwd", "/etc/shadow", "/etc/morvuser.conf",
                                             "/usr/morv/etc/private/smbpasswd"};
inline constexpr const char *kGroupFiles[] = {"/etc/group", "/etc/group_desc"};
inline constexpr const char *kShareFiles[] = {"/usr/morv/etc/smb.conf"};

// Throws for the library's call that has just failed, naming the file that is missing if one is.
[[noreturn]] void fail_account(const Session &session, const std::string &what);

// The record of that name; fails with `what` when there is none.
User read_user(const Session &session, const std::string &name);
Group read_group(const Session &session, const std::string &name);
Share read_share(const Session &session, const std::string &name);

// One that may have gone in the meantime, or that need not exist: null when there is none.
User find_user(const Session &session, const std::string &name);
Group find_group(const Session &session, const std::string &name);

std::vector<std::string> user_names(const Session &session, int mask, const std::string &prefix = "");
std::vector<std::string> group_names(const Session &session, int mask, const std::string &prefix = "");

// The members of a group, those included who belong to it without being named.
std::vector<std::string> members_of(const Session &session, const std::string &group);

// A name as it is compared: without regard to letter case.
std::string name_key(const std::string &name);

// The items of a list that is written with "," between, without blanks around them, empty and repeated ones.
std::vector<std::string> split_list(const std::string &list);
std::string join_list(const std::vector<std::string> &items);

// A whole number from 0 to `most`; refused otherwise.
uint32_t parse_number(const std::string &what, const std::string &text, uint32_t most = UINT32_MAX);

// Refuses a field that would end its line, or, when colons divide that, itself.
enum class Colon { kKept, kDivides };
void check_field(const std::string &what, const std::string &text, Colon colon);

// Makes a change under the locks of users, groups and shares. With --dry-run it is made in a private copy
// of the files, of which the differences are printed: all that `apply` and what it calls do goes on below
// that. `folders` are looked at, too, as are the folders of all shares and the homes. `apply` answers what
// the JSON document says of the change. Answers the exit code.
int change_accounts(const Session &session, const std::vector<std::string> &folders,
                    const std::function<Json()> &apply);

// Before the library gets to work in the system root: it needs the locks itself, and "/tmp" for them and
// the mirrors, which a new system root may lack.
void prepare(const Session &session);

// A command of a family whose first operand is a name.
template <class Args, class Work>
std::pair<CLI::App &, Args &> add_account_command(CLI::App &family, Session &session, Kind kind,
                                                  const char *name, const char *description, Work work) {
    CLI::App &command = add_command(family, session, kind, name, description);
    auto args = std::make_shared<Args>();
    run_with(command, session, [args, work](Session &s) {
        if (!s.dry_run) prepare(s);
        return work(s, *args);
    });
    return {command, *args};
}

}  // namespace morvctl
