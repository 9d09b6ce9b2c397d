// What a command line or a line of a table says of a user.
#pragma once

#include <optional>
#include <string>

#include "morvctl/accounts.h"
#include "morvctl/secret.h"

namespace morvctl {

struct UserValues {
    std::optional<std::string> uid;
    std::optional<std::string> gid;  // a number, or the name of a group
    std::optional<std::string> description;
    std::optional<std::string> home;
    std::optional<std::string> shell;
    std::optional<std::string> expire;              // "yyyy/mm/dd" or "never"
    std::optional<std::string> no_password_change;  // "yes" or "no"
    std::optional<std::string> privilege;
    std::optional<std::string> extra;
};

// Refuses what can be no name of a local user.
void check_user_name(const std::string &name);

// The record of a user as it is to be: `old`, or the defaults of a new user when that is null, with these
// values. A null password keeps the one of `old`. Checks all of them.
User make_user(const Session &session, const MORVUSER *old, const std::string &name, const char *password,
               const UserValues &values);

// "yyyy/mm/dd" or "never".
std::string expire_text(int32_t day);

// Adds the users of a table, or changes those that there are; prints what there is to print.
struct ImportArgs {
    std::string file;
    bool no_password = false;
};
int import_users(const Session &session, const ImportArgs &args);

// Prints all local users as a table, or writes that to a file.
struct ExportArgs {
    std::optional<std::string> file;
};
int export_users(const Session &session, const ExportArgs &args);

}  // namespace morvctl
