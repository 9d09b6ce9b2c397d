#include "morvctl/user_values.h"

#include <morvsdk/error.h>
#include <stdio.h>

#include "morvctl/pairs.h"

namespace morvctl {

namespace {

constexpr uint32_t kUsersGid = 100;

// Where there is no group "users", its id all the same.
uint32_t default_gid(const Session &session) {
    const Group users = find_group(session, "users");
    return users ? users->gid : kUsersGid;
}

uint32_t parse_gid(const Session &session, const std::string &text) {
    if (text.find_first_not_of("0123456789") != text.npos) return read_group(session, text)->gid;
    const uint32_t gid = parse_number("the gid", text, MORV_GROUP_NO_GID - 1);
    MORVGROUP *group = nullptr;
    clear_errors();
    if (MORVGroupGetByGID(gid, &group) != 0) fail_account(session, "find a group with the gid " + text);
    MORVGroupFree(group);
    return gid;
}

uint32_t parse_uid(const Session &session, const std::string &name, const std::string &text) {
    const uint32_t uid = parse_number("the uid", text, MORV_GROUP_NO_GID - 1);
    MORVUSER *found = nullptr;
    clear_errors();
    if (MORVUserGetByUID(uid, &found) != 0) {
        if (MLIBErrGet() != ERR_NO_SUCH_USER) fail_account(session, "look for the uid " + text);
        return uid;
    }
    const User other(found);
    if (name_key(other->szName) != name_key(name))
        refuse("the uid " + text + " is that of " + escape(other->szName));
    return uid;
}

int32_t parse_expire(const std::string &text) {
    int32_t day = MORV_USER_NEVER_EXPIRES;
    if (text != "never" && MORVUserExpiredDateFill(text.c_str(), &day) != 0) {
        refuse("'" + escape(text) + "' is no date like 2027/01/31, nor 'never'");
    }
    return day;
}

bool parse_yes_no(const std::string &what, const std::string &text) {
    if (text == "yes" || text == "1") return true;
    if (text == "no" || text == "0") return false;
    refuse(what + " '" + escape(text) + "' is neither yes nor no");
}

}  // namespace

void check_user_name(const std::string &name) {
    if (name.find('\\') != name.npos)
        refuse("users of a domain, as " + escape(name) + ", are not changed here");
    if (!BlMLIBIsUserName(name.c_str())) {
        refuse(
            "'" + escape(name) +
            "' is no name of a user: that has 1 to 64 letters, digits, '.', '-', '_' and blanks, no blank or "
            "'-' at its start and no blank at its end");
    }
}

User make_user(const Session &session, const MORVUSER *old, const std::string &name, const char *password,
               const UserValues &values) {
    const auto text = [&](const std::optional<std::string> &value, const char *former) {
        return value ? value->c_str() : old ? former : "";
    };
    check_user_name(name);
    if (values.description) check_field("the description", *values.description, Colon::kKept);
    if (values.home) check_field("the home folder", *values.home, Colon::kDivides);
    if (values.home && !values.home->empty() && values.home->front() != '/') {
        refuse("the home folder " + escape(*values.home) + " does not begin with a slash");
    }
    if (values.shell) check_field("the shell", *values.shell, Colon::kDivides);
    if (values.extra) check_field("the extra text", *values.extra, Colon::kDivides);
    const uint32_t uid = values.uid ? parse_uid(session, old ? old->szName : name, *values.uid)
                         : old      ? old->uid
                                    : 0;
    const uint32_t gid = values.gid ? parse_gid(session, *values.gid) : old ? old->gid : default_gid(session);
    const int32_t expire = values.expire ? parse_expire(*values.expire)
                           : old         ? old->expireDay
                                         : MORV_USER_NEVER_EXPIRES;
    const int32_t keep = values.no_password_change
                             ? parse_yes_no("no_password_change", *values.no_password_change)
                         : old ? old->noPasswordChange
                               : 0;
    const int32_t privilege = values.privilege
                                  ? int32_t(parse_number("the privilege", *values.privilege, INT32_MAX))
                              : old ? old->privilege
                                    : 0;
    MORVUSER *user = nullptr;
    clear_errors();
    if (MORVUserAlloc(&user, name.c_str(), password ? password : text({}, old ? old->szPassword : ""), uid,
                      gid, text(values.description, old ? old->szDescription : ""),
                      text(values.home, old ? old->szHome : ""), text(values.shell, old ? old->szShell : ""),
                      expire, keep, text(values.extra, old ? old->szExtra : ""), privilege) != 0) {
        fail_library("go on");
    }
    return User(user);
}

std::string expire_text(int32_t day) {
    if (day < 0) return "never";
    char buffer[64];
    int year;
    int month;
    int date;
    clear_errors();
    if (MORVUserExpiredDateGet(day, buffer, sizeof buffer) != 0) fail_library("print a date");
    if (sscanf(buffer, "%d/%d/%d", &year, &month, &date) != 3) return buffer;
    snprintf(buffer, sizeof buffer, "%04d/%02d/%02d", year, month, date);
    return buffer;
}

}  // namespace morvctl
