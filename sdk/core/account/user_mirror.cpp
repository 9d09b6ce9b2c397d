#include "core/account/user_mirror.h"

#include <errno.h>
#include <morvsdk/file.h>
#include <morvsdk/internal/user.h>
#include <morvsdk/string.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "core/account/account_files.h"
#include "core/account/named_lines.h"
#include "core/account/password.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/store/records.h"
#include "core/store/sorted_records.h"
#include "core/system/command.h"
#include "core/text/fields.h"
#include "core/text/lines.h"

namespace morv {

namespace {

constexpr MirrorStore kStores[] = {
    {".name.0957", false, kUserName, kFromPasswd},     {".misc.0957", false, kUserMisc, kFromMisc},
    {".shadow.0957", false, kUserShadow, kFromShadow}, {".smb.0957", false, kUserSmb, kFromSmbpasswd},
    {".uid.0957", true, kUserUid, kFromPasswd},
};

constexpr const char *kSources[] = {kPasswdPath, kMiscPath, kShadowPath, kSmbpasswdPath};

constexpr int kDomainPrivilege = 3;
constexpr int kAdminPrivilege = 31;
constexpr uint32_t kFirstOrdinaryUid = 1024;
constexpr uint32_t kGuestUid = 1025;
constexpr size_t kPasswdFields = 7;
constexpr size_t kShadowFields = 9;
constexpr size_t kSmbFields = 7;

// One pair for each name of an id: lines may be there twice.
void drop_repeated(std::vector<IdName> &pairs) {
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const IdName &a, const IdName &b) { return a.id.view() < b.id.view(); });
    size_t kept = 0;
    size_t first = 0;  // of those with the same id
    for (IdName &pair : pairs) {
        if (kept == first || pairs[first].id.view() != pair.id.view()) first = kept;
        const bool is_there = std::any_of(pairs.begin() + first, pairs.begin() + kept,
                                          [&](const IdName &p) { return p.name == pair.name; });
        if (is_there) continue;
        if (&pairs[kept] != &pair) pairs[kept] = std::move(pair);
        ++kept;
    }
    pairs.erase(pairs.begin() + kept, pairs.end());
}

int store_passwd(Mirror &mirror, FileText &text, bool (*is_line)(std::string_view)) {
    std::vector<IdName> ids;
    const EachLine each = [&](std::string_view key, std::string_view line) {
        uint32_t uid;
        if (const int code = parse_id(line, &uid)) return code;
        ids.push_back({IdKey(uid), std::string(key)});
        return 0;
    };
    if (const int code = store_lines(mirror.store[kUserName], text, is_line, kPasswdPath, nullptr, each))
        return code;
    drop_repeated(ids);
    return store_ids(mirror.store[kUserUid], ids);
}

int store_named(Mirror &mirror, UserSlot slot, SourceText &source, const char *path) {
    return store_lines(mirror.store[slot], source.text, is_named_line, path, "user", nullptr);
}

bool is_domain_line(std::string_view line) noexcept {
    return is_system_line(line) && is_domain_name(first_field(line));
}

constexpr char kDomainTool[] = "/usr/bin/getent";

int build(Mirror &mirror) noexcept {
    int code = build_local_users(mirror);
    if (code) {
        MORV_LOG(LOG_ERR, "UserDBPasswdBuild() failed! morverr=0x%04X", unsigned(code));
        return code;
    }
    std::unique_ptr<SourceText> misc(new (std::nothrow) SourceText);
    std::unique_ptr<SourceText> other(new (std::nothrow) SourceText);
    if (!misc || !other) return ERR_OUT_OF_MEMORY;
    if ((code = misc->load(kMiscPath))) return code;
    if ((code = store_current_id(mirror.store[kUserUid], uid_range, misc->text.view()))) return code;
    if (const int failed = build_domain_users(mirror)) {
        MORV_LOG(LOG_ERR, "UserDBDomainBuild() failed! morverr=0x%04X", unsigned(failed));
        report_domain_failure();
    }
    return no_throw([&] {
        if (const int failed = other->load(kShadowPath)) return failed;
        mirror.source[kFromShadow] = state_of(other->st);
        if (const int failed = store_named(mirror, kUserShadow, *other, kShadowPath)) return failed;
        mirror.source[kFromMisc] = state_of(misc->st);
        if (const int failed = store_named(mirror, kUserMisc, *misc, kMiscPath)) return failed;
        other = std::make_unique<SourceText>();
        if (const int failed = other->load(kSmbpasswdPath)) return failed;
        mirror.source[kFromSmbpasswd] = state_of(other->st);
        return store_named(mirror, kUserSmb, *other, kSmbpasswdPath);
    });
}

int find_line(MORVBDB *db, std::string_view key, std::string_view *line) noexcept {
    std::string_view value;
    const int code = find_record(db, key, &value);
    if (code == 0) *line = stored_text(value);
    return code == ERR_KEY_NOT_FOUND ? 0 : code;
}

// The fields of a line, each with a NUL behind it: copied to `at`, which is moved behind the copy. Answers
// how many, as split_fields.
size_t cut_fields(std::string_view line, char *&at, std::span<const char *> fields) noexcept {
    memcpy(at, line.data(), line.size());
    char *const end = at + line.size();
    *end = '\0';
    size_t count = 0;
    char *field = at;
    at = end + 1;
    for (;;) {
        if (count == fields.size()) return count + 1;
        fields[count++] = field;
        char *const colon = static_cast<char *>(memchr(field, ':', static_cast<size_t>(end - field)));
        if (!colon) return count;
        *colon = '\0';
        field = colon + 1;
    }
}

int put_line(MORVBDB *db, const std::string &key, const std::string &line) noexcept {
    return put_record(db, store_key(key), store_key(line));
}

bool is_admin(std::string_view name) noexcept {
    KeyFilter filter;
    filter.add("ADMIN");
    std::string key;
    return filter.may_have(name) &&
           no_throw([&] { return upper_name(name, key) && key == "ADMIN" ? 0 : 1; }) == 0;
}

// The numbers of shadow lines: an empty field is -1.
int32_t shadow_number(std::string_view field) noexcept {
    return field.empty() ? -1 : static_cast<int32_t>(std::min<int64_t>(leading_number(field), INT32_MAX));
}

std::string with_id(uint32_t id) {
    return std::to_string(static_cast<int32_t>(id));
}

std::string hex(const uint8_t (&hash)[16]) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (const uint8_t byte : hash)
        out.append({kDigits[byte >> 4], kDigits[byte & 15]});
    return out;
}

std::string join_fields(std::span<const std::string_view> fields) {
    std::string line(fields[0]);
    for (const std::string_view field : fields.subspan(1))
        line.append(":").append(field);
    return line;
}

// Who may not change the password must keep it for more days than it is valid for.
bool is_password_fixed(std::string_view least, std::string_view most) noexcept {
    return shadow_number(least) >= shadow_number(most);
}

constexpr const char *kMostDays = "99999";
const char *least_days(const MORVUSER &user) noexcept {
    return user.noPasswordChange == 1 ? "100000" : "0";
}

std::string expiry(const MORVUSER &user) {
    return user.expireDay < 0 ? std::string() : std::to_string(user.expireDay);
}

// The lines of somebody whose password is of now.
std::string shadow_line(const MORVUSER &user, std::string_view hash, time_t now) {
    constexpr time_t kSecondsOfDay = 86400;
    std::string line(user.szName);
    line.append(":").append(hash).append(":").append(std::to_string(now / kSecondsOfDay));
    line.append(":").append(least_days(user)).append(":").append(kMostDays);
    return line.append(":7::").append(expiry(user)).append(":");
}

std::string smb_line(const MORVUSER &user, const SmbFields &hashes, time_t now) {
    std::string line(user.szName);
    line.append(":").append(with_id(user.uid)).append(":");
    line.append(hashes.lm).append(":").append(hashes.nt);
    char changed[16];
    snprintf(changed, sizeof changed, "%08X", static_cast<unsigned>(now));
    return line.append(":[U          ]:LCT-").append(changed).append(":");
}

int encode_description(const char *text, std::string &out) {
    if (!text || !*text) return 0;
    std::string encoded(2 * strlen(text) + 1, '\0');
    if (MLIBStrEncodeColon(text, encoded.data(), static_cast<int>(encoded.size())) < 0)
        return ERR_BAD_PARAMETERS;
    out.assign(stored_text(encoded));
    return 0;
}

// Read once per process.
bool has_guest_support() noexcept {
    static int known = -1;
    if (known < 0) {
        char value[16];
        const int found = MLIBFileGetKeyValue(SysPath("/etc.defaults/morvinfo.conf").c_str(), "guestsupport",
                                              value, sizeof value, 0);
        known = found > 0 && strcmp(value, "no") == 0 ? 0 : 1;
    }
    return known == 1;
}

const char *or_empty(const char *text) noexcept {
    return text ? text : "";
}

}  // namespace

const MirrorKind user_mirror_kind = {
    "/tmp/.db.user", "/tmp/.db.user.tmp", "/tmp/lock/mirror_user", kStores, kSources,
    build,           "MORVUserDBRebuild"};

int build_local_users(Mirror &mirror) noexcept {
    std::unique_ptr<SourceText> passwd(new (std::nothrow) SourceText);
    if (!passwd) return ERR_OUT_OF_MEMORY;
    if (const int code = passwd->load(kPasswdPath)) return code;
    mirror.source[kFromPasswd] = state_of(passwd->st);
    return no_throw([&] { return store_passwd(mirror, passwd->text, is_system_line); });
}

int build_domain_users(Mirror &mirror) noexcept {
    return no_throw([&] {
        std::string output;
        if (access(SysPath(kDomainTool).c_str(), X_OK) != 0) return int{ERR_SYS_UNKNOWN};
        if (const int code = capture_tool(output, "/usr/bin/getent -s winbind passwd", {})) return code;
        std::vector<IdName> ids;
        SortedRecords names;
        std::string key;
        for (std::string_view whole : Lines(output)) {
            const std::string_view line = without_line_feed(whole);
            uint32_t uid;
            if (!is_domain_line(line) || parse_id(line, &uid) != 0 || !upper_name(first_field(line), key))
                continue;
            // The tool's text is this function's own: its lines are stored where they stand, a NUL for the
            // line feed.
            const auto end = static_cast<size_t>(line.data() - output.data()) + line.size();
            if (end < output.size()) output[end] = '\0';
            key.push_back('\0');
            names.add(key, {line.data(), line.size() + 1});
            ids.push_back({IdKey(uid), key});
        }
        if (const int code = names.put_all(mirror.store[kUserName], SortedRecords::kLast)) return code;
        if (const int code = store_ids(mirror.store[kUserUid], ids)) return code;
        return MORVBDbDomainExpireTimeSet(mirror.store[kUserName]) == 0 ? 0 : MLIBErrGet();
    });
}

int find_user(Mirror &mirror, const char *key, UserText *text) noexcept {
    const struct {
        UserSlot slot;
        std::string_view *line;
    } lines[] = {{kUserName, &text->passwd}, {kUserShadow, &text->shadow}, {kUserMisc, &text->misc}};
    *text = {};
    for (const auto &[slot, line] : lines) {
        if (const int code = need_store(mirror, slot)) return code;
        if (const int code = find_line(mirror.store[slot], store_key(key), line)) return code;
        if (text->passwd.empty()) return ERR_NO_SUCH_USER;
        if (is_domain_name(first_field(text->passwd))) return 0;
    }
    return 0;
}

int find_smb_fields(Mirror &mirror, const char *key, SmbFields *fields) noexcept {
    std::string_view line;
    std::string_view all[kSmbFields];
    *fields = {};
    if (const int code = need_store(mirror, kUserSmb)) return code;
    if (const int code = find_line(mirror.store[kUserSmb], store_key(key), &line)) return code;
    if (split_fields(line, ':', all) == kSmbFields) *fields = {all[2], all[3]};
    return 0;
}

int make_user(const UserText &text, MORVUSER **user) noexcept {
    const MallocPtr<char> copies(
        static_cast<char *>(malloc(2 * text.passwd.size() + text.shadow.size() + text.misc.size() + 4)));
    if (!copies) return ERR_OUT_OF_MEMORY;
    char *at = copies.get();
    const char *passwd[kPasswdFields];
    if (cut_fields(text.passwd, at, passwd) != kPasswdFields || !*passwd[0]) return ERR_FORMAT_ERROR;
    const char *const name = passwd[0];
    const auto uid = static_cast<uint32_t>(leading_number(passwd[2]));
    const auto gid = static_cast<uint32_t>(leading_number(passwd[3]));
    char *const description = at;
    const size_t room = strlen(passwd[4]) + 1;
    if (MLIBStrDecodeColon(passwd[4], description, static_cast<int>(room)) < 0) return ERR_FORMAT_ERROR;
    at += room;
    if (is_domain_name(name)) {
        if (MORVUserAlloc(user, name, nullptr, uid, gid, description, passwd[5], passwd[6],
                          MORV_USER_NEVER_EXPIRES, 0, nullptr, kDomainPrivilege) != 0) {
            return MLIBErrGet();
        }
        (*user)->szPassword = nullptr;
        return 0;
    }

    // An account without a shadow line has no password that anybody could give.
    const char *hash = "*";
    int32_t expire = MORV_USER_NEVER_EXPIRES;
    int32_t fixed_password = 0;
    if (!text.shadow.empty()) {
        const char *shadow[kShadowFields];
        if (cut_fields(text.shadow, at, shadow) != kShadowFields) return ERR_FORMAT_ERROR;
        hash = shadow[1];
        expire = shadow_number(shadow[7]);
        fixed_password = is_password_fixed(shadow[3], shadow[4]);
    }
    int32_t privilege = 0;
    const char *extra = "";
    if (!text.misc.empty()) {
        const char *misc[4];
        const size_t count = cut_fields(text.misc, at, misc);
        if (count < 2) return ERR_FORMAT_ERROR;
        privilege = static_cast<int32_t>(leading_number(misc[1]));
        if (count > 2) extra = misc[2];
    }
    if (is_admin(name)) privilege = kAdminPrivilege;
    return MORVUserAlloc(user, name, hash, uid, gid, description, passwd[5], passwd[6], expire,
                         fixed_password, extra, privilege) == 0
               ? 0
               : MLIBErrGet();
}

int make_open_lines(const MORVUSER &user, UserLines *lines) {
    const std::string name = user.szName;
    std::string description;
    if (const int code = encode_description(user.szDescription, description)) return code;
    const std::string home =
        *or_empty(user.szHome) ? std::string(user.szHome) : "/var/services/homes/" + name;
    const std::string shell = *or_empty(user.szShell) ? user.szShell : "/bin/csh";
    lines->passwd = name + ":x:" + with_id(user.uid) + ":" + with_id(user.gid) + ":" + description + ":" +
                    home + ":" + shell;
    lines->misc = name + ":" + std::to_string(user.privilege) + ":" + or_empty(user.szExtra);
    return 0;
}

int make_user_lines(const MORVUSER &user, const UserLines *old, UserLines *lines) {
    const char *const password = or_empty(user.szPassword);
    std::string_view smb[kSmbFields];
    const bool had_smb = old && !old->smb.empty();
    const bool smb_sound = had_smb && split_fields(old->smb, ':', smb) == kSmbFields;
    std::string_view shadow[kShadowFields];
    std::string old_hash = old ? "*" : "";
    if (old && !old->shadow.empty()) {
        if (split_fields(old->shadow, ':', shadow) != kShadowFields) return ERR_FORMAT_ERROR;
        old_hash.assign(shadow[1]);
    }
    const bool new_password = !old || old_hash != password;
    if (had_smb && !smb_sound && !new_password) return ERR_FORMAT_ERROR;
    if (const int code = make_open_lines(user, lines)) return code;

    std::string hash = old_hash;
    if (new_password) {
        PasswordHash made;
        if (const int code = hash_password(password, old ? old_hash.c_str() : nullptr, &made)) return code;
        hash = made.text;
    }
    const time_t now = time(nullptr);
    lines->shadow = shadow_line(user, hash, now);

    lines->smb.clear();
    if (!new_password && !had_smb) return 0;  // nothing to make the hashes of
    if (!new_password) {
        lines->smb = smb_line(user, {smb[2], smb[3]}, now);
        return 0;
    }
    uint8_t lm[16];
    uint8_t nt[16];
    if (MLIBSmbLmHash(password, lm) != 0 || MLIBSmbMd4Hash(password, nt) != 0) return MLIBErrGet();
    lines->smb = smb_line(user, {hex(lm), hex(nt)}, now);
    return 0;
}

int make_stored_lines(const MORVUSER &user, const SmbFields &smb, const UserLines *old, UserLines *lines) {
    if (const int code = make_open_lines(user, lines)) return code;
    const time_t now = time(nullptr);
    const char *const hash = or_empty(user.szPassword);
    const bool is_as_without = !strcmp(hash, "*") && user.expireDay < 0 && user.noPasswordChange != 1;
    if (!old || (old->shadow.empty() && !is_as_without)) {
        lines->shadow = shadow_line(user, hash, now);
    } else if (old->shadow.empty()) {
        lines->shadow.clear();
    } else {
        std::string_view fields[kShadowFields];
        if (split_fields(old->shadow, ':', fields) != kShadowFields) return ERR_FORMAT_ERROR;
        fields[1] = hash;
        if (is_password_fixed(fields[3], fields[4]) != (user.noPasswordChange == 1)) {
            fields[3] = least_days(user);
            fields[4] = kMostDays;
        }
        const std::string day = expiry(user);
        if (std::max(shadow_number(fields[7]), -1) != std::max(user.expireDay, -1)) fields[7] = day;
        lines->shadow = join_fields(fields);
    }

    lines->smb.clear();
    if (smb.lm.empty() && smb.nt.empty()) return 0;
    std::string_view fields[kSmbFields];
    if (!old || split_fields(old->smb, ':', fields) != kSmbFields) {
        lines->smb = smb_line(user, smb, now);
    } else {
        fields[2] = smb.lm;
        fields[3] = smb.nt;
        lines->smb = join_fields(fields);
    }
    return 0;
}

int store_user(Mirror &mirror, const std::string &key, std::optional<uint32_t> uid,
               const UserLines &lines) noexcept {
    const struct {
        UserSlot slot;
        const std::string &line;
        const char *what;
    } puts[] = {{kUserName, lines.passwd, "name"},
                {kUserMisc, lines.misc, "misc"},
                {kUserShadow, lines.shadow, "shadow"},
                {kUserSmb, lines.smb, "smb"}};
    int code = 0;
    for (const auto &[slot, line, what] : puts) {
        // A line that somebody else has left under the name must not become the user's.
        code = line.empty() ? erase_record(mirror.store[slot], store_key(key))
                            : put_line(mirror.store[slot], key, line);
        if (code) {
            MORV_LOG(LOG_ERR, "writing the %s store failed, morverr=0x%04X", what, unsigned(code));
            return code;
        }
    }
    if (!uid) return 0;
    const IdKey id(*uid);
    code = find_pair(mirror.store[kUserUid], id.view(), store_key(key));
    if (code == ERR_KEY_NOT_FOUND) code = put_record(mirror.store[kUserUid], id.view(), store_key(key));
    if (code) MORV_LOG(LOG_ERR, "writing the %s store failed, morverr=0x%04X", "uid", unsigned(code));
    return code;
}

int erase_user(Mirror &mirror, const std::string &key) noexcept {
    std::string_view value;
    int code = find_record(mirror.store[kUserName], store_key(key), &value);
    if (code) return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_USER} : code;
    uint32_t uid = 0;
    const bool has_uid = parse_id(line_of(value), &uid) == 0;
    for (const UserSlot slot : {kUserName, kUserMisc, kUserShadow, kUserSmb}) {
        if ((code = erase_record(mirror.store[slot], store_key(key)))) return code;
    }
    code = has_uid ? erase_pair(mirror.store[kUserUid], IdKey(uid).view(), store_key(key))
                   : int{ERR_KEY_NOT_FOUND};
    return code == ERR_KEY_NOT_FOUND ? int{ERR_ID_NOT_FOUND} : code;
}

int find_uid(Mirror &mirror, uint32_t uid, std::string &key) {
    const int code = find_id(mirror, kUserName, kUserUid, uid, key);
    return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_USER} : code;
}

bool is_listed_user(std::string_view line, int mask) noexcept {
    std::string_view fields[4];
    if (split_fields(line, ':', fields) < 3) return false;
    const auto uid = static_cast<uint32_t>(leading_number(fields[2]));
    if (is_domain_name(fields[0])) return (mask & MORV_USER_DOMAIN) != 0 && uid != 0;
    if (!(mask & MORV_USER_LOCAL) || uid < kFirstOrdinaryUid) return false;
    return uid != kGuestUid || has_guest_support();
}

}  // namespace morv
