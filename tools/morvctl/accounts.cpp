#include "morvctl/accounts.h"

#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/unicode.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "morvctl/pairs.h"
#include "morvctl/preview.h"
#include "morvctl/signals.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

constexpr uint32_t kLocks = MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB;

// The library takes these locks itself, and takes them again where they are held: held from before a record
// is read until it is written, no change made at the same time is lost, and --timeout holds.
class AccountLock {
  public:
    explicit AccountLock(const Session &session) {
        clear_errors();
        if (ErrMLIBFileLock(kLocks | MORV_LOCK_WRITE, session.timeout) != 0) {
            fail_library("lock the accounts");
        }
    }
    ~AccountLock() { ErrMLIBFileUnlock(kLocks); }
    AccountLock(const AccountLock &) = delete;
    AccountLock &operator=(const AccountLock &) = delete;
};

template <class Record, class Get>
Record get_record(const Session &session, const std::string &name, const char *what, Get get) {
    typename Record::pointer record = nullptr;
    clear_errors();
    if (get(name.c_str(), &record) != 0) fail_account(session, what + escape(name));
    return Record(record);
}

std::vector<std::string> push_names(const Session &session, const char *what,
                                    const std::function<int(MLIBSZLIST **)> &push) {
    List list;
    clear_errors();
    if (push(list.address()) < 0) fail_account(session, what);
    return list.items();
}

}  // namespace

void fail_account(const Session &session, const std::string &what) {
    const int code = MLIBErrGet();
    const int reason = errno;
    if (code == ERR_OPEN_FAILED || code == ERR_STAT_FAILED || code == ERR_PATH_NOT_FOUND ||
        code == ERR_ACCESS_DENIED) {
        for (const std::span<const char *const> files :
             {std::span<const char *const>(kUserFiles), std::span<const char *const>(kGroupFiles),
              std::span<const char *const>(kShareFiles)}) {
            for (const char *file : files) {
                if (access(system_path(session, file).c_str(), R_OK) == 0) continue;
                const bool missing = errno == ENOENT;
                throw Failure(Exit::kFailed, "cannot " + what + ": " + file + ": " + reason_text(errno) +
                                                 (missing ? "; an empty file will do" : "") + " (" +
                                                 error_name(code) + ")");
            }
        }
    }
    errno = reason;
    fail_library(what);
}

User read_user(const Session &session, const std::string &name) {
    return get_record<User>(session, name, "read the user ", MORVUserGet);
}

Group read_group(const Session &session, const std::string &name) {
    return get_record<Group>(session, name, "read the group ", MORVGroupGet);
}

Share read_share(const Session &session, const std::string &name) {
    return get_record<Share>(session, name, "read the share ", MORVShareGet);
}

User find_user(const Session &session, const std::string &name) {
    MORVUSER *user = nullptr;
    clear_errors();
    if (MORVUserGet(name.c_str(), &user) == 0) return User(user);
    if (MLIBErrGet() != ERR_NO_SUCH_USER) fail_account(session, "read the user " + escape(name));
    return nullptr;
}

Group find_group(const Session &session, const std::string &name) {
    MORVGROUP *group = nullptr;
    clear_errors();
    if (MORVGroupGet(name.c_str(), &group) == 0) return Group(group);
    if (MLIBErrGet() != ERR_NO_SUCH_GROUP) fail_account(session, "read the group " + escape(name));
    return nullptr;
}

std::vector<std::string> user_names(const Session &session, int mask, const std::string &prefix) {
    return push_names(session, "read the users", [&](MLIBSZLIST **list) {
        return prefix.empty() ? MORVUserEnum(list, mask) : MORVUserEnumByPrefix(list, mask, prefix.c_str());
    });
}

std::vector<std::string> group_names(const Session &session, int mask, const std::string &prefix) {
    return push_names(session, "read the groups", [&](MLIBSZLIST **list) {
        return prefix.empty() ? MORVGroupEnum(list, mask) : MORVGroupEnumByPrefix(list, mask, prefix.c_str());
    });
}

std::vector<std::string> members_of(const Session &session, const std::string &group) {
    return push_names(session, ("read the members of the group " + escape(group)).c_str(),
                      [&](MLIBSZLIST **list) { return MORVGroupListMember(group.c_str(), list); });
}

std::string name_key(const std::string &name) {
    std::string key(name.size() * 3 + 1, '\0');
    const int length = MLIBUnicodeUTF8StrUpper(name.c_str(), key.data(), int(key.size()));
    if (length < 0) return name;
    key.resize(size_t(length));
    return key;
}

std::vector<std::string> split_list(const std::string &list) {
    std::vector<std::string> items;
    std::set<std::string> seen;
    for (size_t start = 0; start <= list.size();) {
        const size_t end = std::min(list.find(',', start), list.size());
        const std::string item(trim_blanks(std::string_view(list).substr(start, end - start)));
        if (!item.empty() && seen.insert(name_key(item)).second) items.push_back(item);
        start = end + 1;
    }
    return items;
}

std::string join_list(const std::vector<std::string> &items) {
    std::string list;
    for (const std::string &item : items)
        list.append(list.empty() ? "" : ",").append(item);
    return list;
}

uint32_t parse_number(const std::string &what, const std::string &text, uint32_t most) {
    uint64_t number = 0;
    const bool digits = !text.empty() && text.size() <= 10 &&
                        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (digits) {
        for (const char c : text)
            number = number * 10 + uint64_t(c - '0');
    }
    if (!digits || number > most) {
        refuse(what + " '" + escape(text) + "' is no number from 0 to " + std::to_string(most));
    }
    return uint32_t(number);
}

void check_field(const std::string &what, const std::string &text, Colon colon) {
    check_one_line(what, text);
    if (colon == Colon::kDivides && text.find(':') != text.npos) {
        refuse(what + " holds a colon: " + escape(text));
    }
}

int change_accounts(const Session &session, const std::vector<std::string> &folders,
                    const std::function<Json()> &apply) {
    Json document;
    if (session.dry_run) {
        const Preview preview(session, folders);
        document = apply();
        document["dry_run"] = true;
        preview.show(session, document);
    } else {
        const AccountLock lock(session);
        const HeldSignals held;
        MORVFileDurabilitySet(MORV_DURABLE);
        document = apply();
        document["dry_run"] = false;
    }
    if (session.json) print_json(document);
    return int(Exit::kDone);
}

void prepare(const Session &session) {
    prepare_locks(session, kLocks);
}

}  // namespace morvctl
