#include <morvsdk/file.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/account/user_change.h"
#include "core/account/user_mirror.h"
#include "core/base/log.h"
#include "core/store/records.h"
#include "sysbkp/block.h"

using namespace morv;

namespace {

// ---- Export ---------------------------------------------------------------------------------------------

struct Free {
    void operator()(MORVUSER *user) const noexcept { MORVUserFree(user); }
};

void put_user(ItemWriter &items, const MORVUSER &user, const SmbFields &smb) {
    items.put_string(user.szName);
    items.put_string(user.szPassword);
    items.put_string(user.szDescription);
    items.put_string(smb.lm);
    items.put_string(smb.nt);
    items.put_long(user.expireDay);
    items.put_long(user.privilege);
    items.put_string(user.szExtra);
    items.put_long(user.noPasswordChange == 1 ? 0 : 1);
}

// The users that MORVUserEnum lists, in its order.
int put_users(Mirror &mirror, ItemWriter &items) {
    if (const int code = need_all_stores(mirror)) return code;
    const size_t count_at = items.put_count();
    int32_t count = 0;
    std::unique_ptr<MORVUSER, Free> user;
    std::string key;
    Walk walk(mirror.store[kUserName]);
    while (walk.next()) {
        const std::string_view line = stored_text(walk.value);
        if (!is_listed_user(line, MORV_USER_LOCAL)) continue;
        key = stored_text(walk.key);
        UserText text;
        SmbFields smb;
        int code = find_user(mirror, key.c_str(), &text);
        if (code == 0) code = find_smb_fields(mirror, key.c_str(), &smb);
        if (code == 0) {
            MORVUSER *block = user.release();
            code = make_user(text, &block);
            user.reset(block);
        }
        if (code == ERR_FORMAT_ERROR) {
            const std::string name(first_field(line));
            tell_problem("user %s: %s", name.c_str(), code_text(code));
        }
        if (code) return code;
        put_user(items, *user, smb);
        ++count;
    }
    items.set_count(count_at, count);
    return walk.code;
}

// ---- Import ---------------------------------------------------------------------------------------------

// A user of the file.
struct Record {
    MORVUSER user = {};
    SmbFields smb;
    int32_t may_change = 1;
};

// Takes the records that are whole, without the administrator.
void take_users(ItemReader &items, std::vector<Record> &records) {
    const auto text = [&] { return const_cast<char *>(items.take_string()); };
    const int32_t count = items.take_count();
    for (int32_t i = 0; i < count && !items.problem(); ++i) {
        Record r;
        r.user.szName = text();
        r.user.szPassword = text();
        r.user.szDescription = text();
        r.smb.lm = items.take_string();
        r.smb.nt = items.take_string();
        // Every day below 0 says the same.
        r.user.expireDay = std::max<int32_t>(items.take_long(), MORV_USER_NEVER_EXPIRES);
        r.user.privilege = items.take_long();
        r.user.szExtra = text();
        r.may_change = items.take_long();
        r.user.noPasswordChange = r.may_change == 0;
        if (!items.problem()) records.push_back(r);
    }
}

bool is_plain(std::string_view text) noexcept {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F' || c == ':') return false;
    }
    return true;
}

// Why a record cannot be restored, as far as it shows by itself; else null.
const char *fault_of(const Record &r) noexcept {
    if (strchr(r.user.szName, '\\')) return "a user of a domain";
    if (!is_showable(r.user.szDescription)) return "control characters in the full name";
    if (!is_plain(r.user.szPassword)) return "no valid hash of a password";
    if (!is_plain(r.smb.lm) || !is_plain(r.smb.nt)) return "no valid hashes for Windows networking";
    if (r.may_change != 0 && r.may_change != 1)
        return "neither 0 nor 1 for whether the password may be changed";
    if (!is_plain(r.user.szExtra)) return "no valid mail address";
    return nullptr;
}

bool is_admin(const char *name) {
    std::string key;
    return upper_name(name, key) && key == "ADMIN";
}

void refuse(const Record &r, const char *why) noexcept {
    tell_problem("user %s: %s", r.user.szName, why);
    // For whoever meets the name in a list.
    keep_reason(r.user.szName, why);
}

// Restores what can be restored. Answers 0 when that is all.
int restore(const std::vector<Record> &records) {
    int result = 0;
    std::vector<const Record *> sound;
    std::vector<UserChange> changes;
    for (const Record &r : records) {
        if (is_admin(r.user.szName)) {
            MORV_LOG(LOG_ERR, "[admin] is not restored\n");
            tell_note("user %s: is left as it is here", r.user.szName);
        } else if (const char *const why = fault_of(r)) {
            refuse(r, why);
            result = -1;
        } else {
            sound.push_back(&r);
            changes.push_back({r.user.szName, &r.user, nullptr, true, &r.smb});
        }
    }
    if (changes.empty()) return result;
    std::vector<int> codes(changes.size());
    if (const int code = change_users_if_possible(changes, codes.data())) {
        tell_problem("the users: %s", code_text(code));
        return -1;
    }
    for (size_t i = 0; i < codes.size(); ++i) {
        if (codes[i] == 0) continue;
        refuse(*sound[i], codes[i] == ERR_NO_SUCH_USER ? "an account of the system" : code_text(codes[i]));
        result = -1;
    }
    return result;
}

}  // namespace

extern "C" int MORVSysbkpUserExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_USER, "users", [](ItemWriter &items) {
        const int code = read_accounts(user_mirror_kind, MORV_LOCK_PW, [&](Mirror &mirror) {
            items = ItemWriter();
            return put_users(mirror, items);
        });
        if (code) tell_problem("the users: %s", code_text(code));
        return code ? -1 : 0;
    });
}

extern "C" int MORVSysbkpUserImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_USER, version, [](ItemReader &items) {
        std::vector<Record> records;
        take_users(items, records);
        const int restored = restore(records);
        return check_items(items) == 0 ? restored : -1;
    });
}
