#include "core/account/group_mirror.h"

#include <morvsdk/error.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "core/account/account_files.h"
#include "core/account/named_lines.h"
#include "core/account/user_mirror.h"
#include "core/account/valid_names.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"
#include "core/text/fields.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr MirrorStore kStores[] = {
    {".name.0957", false, kGroupName, kFromGroup},
    {".id.0957", true, kGroupId, kFromGroup},
    {".desc.0957", false, kGroupDescription, kFromGroupDesc},
};

constexpr const char *kSources[] = {kGroupPath, kGroupDescPath};

constexpr char kDomainGroups[] = "/usr/morv/etc/private/domain_group";

struct Group {
    std::string key;   // with the NUL
    std::string line;  // with the NUL
    uint32_t gid;
};

int read_groups(std::string_view text, const Accounts &accounts, std::vector<Group> &groups) {
    std::string key;
    std::string members;
    for (std::string_view whole : Lines(text)) {
        const std::string_view line = without_line_feed(whole);
        if (!is_system_line(line)) continue;
        uint32_t gid;
        if (const int code = parse_id(line, &gid)) return code;
        if (!upper_name(first_field(line), key) || key[0] == '#') {
            // Nobody finds the group, but its id is taken.
            groups.push_back({std::string(first_field(line)) + '\0', std::string(), gid});
            continue;
        }
        std::string_view before;
        std::string_view list;
        if (!split_members(line, &before, &list)) continue;
        members.clear();
        int count;
        if (const int code = accounts.normalise(list, members, &count)) return code;
        groups.push_back({std::string(store_key(key)), std::string(before) + members + '\0', gid});
    }
    return 0;
}

int store_groups(Mirror &mirror, std::vector<Group> &groups) {
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group &a, const Group &b) { return a.key < b.key; });
    for (const Group &group : groups) {
        if (group.line.empty()) continue;
        if (const int code = put_record(mirror.store[kGroupName], group.key, group.line)) return code;
    }
    std::vector<IdName> ids;
    ids.reserve(groups.size());
    for (Group &group : groups)
        ids.push_back({IdKey(group.gid), std::move(group.key)});
    return store_ids(mirror.store[kGroupId], ids);
}

uint32_t gid_of(std::string_view line) noexcept {
    uint32_t gid;
    return parse_id(line, &gid) == 0 ? gid : MORV_GROUP_NO_GID;
}

// Groups of the system that people have to do with.
bool is_shown_system_group(std::string_view name) noexcept {
    std::string key;
    return no_throw([&] {
               const bool shown =
                   upper_name(name, key) && (key == "USERS" || key == "ADMINISTRATORS" || key == "HTTP");
               return shown ? 0 : int{ERR_NO_SUCH_GROUP};
           }) == 0;
}

int build(Mirror &mirror) noexcept {
    std::unique_ptr<SourceText> source(new (std::nothrow) SourceText);
    if (!source) return ERR_OUT_OF_MEMORY;
    if (const int code = source->load(kGroupPath)) return code;
    mirror.source[kFromGroup] = state_of(source->st);
    MirrorPtr users;
    if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users))
        return code == ERR_OUT_OF_MEMORY ? code : int{ERR_OPEN_FAILED};
    int code = no_throw([&] {
        const Accounts accounts(users.get(), nullptr);
        std::vector<Group> groups;
        const int failed = read_groups(source->text.view(), accounts, groups);
        return failed ? failed : store_groups(mirror, groups);
    });
    if (code == 0) code = store_current_id(mirror.store[kGroupId], gid_range, source->text.view());
    if (code) return code;
    if (const int failed = build_domain_groups(mirror)) {
        MORV_LOG(LOG_ERR, "GroupDBDomainBuild() failed! morverr=0x%04X", unsigned(failed));
        report_domain_failure();
    }
    source.reset(new (std::nothrow) SourceText);
    if (!source) return ERR_OUT_OF_MEMORY;
    if ((code = source->load(kGroupDescPath))) return code;
    mirror.source[kFromGroupDesc] = state_of(source->st);
    return no_throw([&] {
        return store_lines(mirror.store[kGroupDescription], source->text, is_named_line, kGroupDescPath,
                           "group", nullptr);
    });
}

}  // namespace

const MirrorKind group_mirror_kind = {
    "/tmp/.db.group",    "/tmp/.db.group.tmp", "/tmp/lock/mirror_group", kStores, kSources, build,
    "MORVGroupDBRebuild"};

int build_domain_groups(Mirror &mirror) noexcept {
    std::unique_ptr<SourceText> source(new (std::nothrow) SourceText);
    if (!source) return ERR_OUT_OF_MEMORY;
    if (const int code = source->load(kDomainGroups)) return code;
    return no_throw([&] {
        std::string key;
        for (std::string_view whole : Lines(source->text.view())) {
            const std::string_view name = trim_blanks(whole);
            if (name.empty() || name[0] == '#' || name.find(':') != name.npos || !upper_name(name, key))
                continue;
            std::string_view there;
            if (find_record(mirror.store[kGroupName], store_key(key), &there) == 0) continue;
            std::string line(name);
            line.append(":x:").append(kNoGid).append(":");
            if (const int code = put_record(mirror.store[kGroupName], store_key(key), store_key(line)))
                return code;
        }
        return MORVBDbDomainExpireTimeSet(mirror.store[kGroupName]) == 0 ? 0 : int{ERR_STORE_WRITE_FAILED};
    });
}

int read_group_line(Mirror &mirror, const std::string &key, std::string *line) {
    if (const int code = need_store(mirror, kGroupName)) return code;
    std::string_view value;
    const int code = find_record(mirror.store[kGroupName], store_key(key), &value);
    if (code == 0) line->assign(stored_text(value));
    if (code == 0 && !is_line_of(key, *line)) return ERR_FORMAT_ERROR;
    return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_GROUP} : code;
}

int read_description(Mirror &mirror, const std::string &key, std::string *line) {
    line->clear();
    if (const int code = need_store(mirror, kGroupDescription)) return code;
    std::string_view value;
    const int code = find_record(mirror.store[kGroupDescription], store_key(key), &value);
    if (code == 0) line->assign(stored_text(value));
    if (code == 0 && !is_line_of(key, *line)) return ERR_FORMAT_ERROR;
    return code == ERR_KEY_NOT_FOUND ? 0 : code;
}

std::string_view description_of(std::string_view line) noexcept {
    const size_t colon = line.find(':');
    return colon == line.npos ? std::string_view() : line.substr(colon + 1);
}

int make_group(std::string_view line, MORVGROUP **group) noexcept {
    return no_throw([&] {
        std::string_view before;
        std::string_view list;
        if (!split_members(line, &before, &list)) return int{ERR_FORMAT_ERROR};
        std::string_view fields[4];
        split_fields(before, ':', fields);
        const std::string name(fields[0]);
        const std::string password(fields[1]);
        const std::string members(list);
        const auto gid = static_cast<uint32_t>(leading_number(fields[2]));
        return MORVGroupAlloc2(group, name.c_str(), password.c_str(), gid, members.c_str()) == 0
                   ? 0
                   : MLIBErrGet();
    });
}

std::string group_line(std::string_view name, uint32_t gid, std::string_view members) {
    std::string line(name);
    line.append(":x:").append(std::to_string(static_cast<int32_t>(gid))).append(":").append(members);
    return line;
}

int store_group(Mirror &mirror, const std::string &key, std::optional<uint32_t> gid,
                const std::string &line) noexcept {
    if (const int code = put_record(mirror.store[kGroupName], store_key(key), store_key(line))) return code;
    if (!gid) return 0;
    const IdKey id(*gid);
    const int code = find_pair(mirror.store[kGroupId], id.view(), store_key(key));
    return code == ERR_KEY_NOT_FOUND ? put_record(mirror.store[kGroupId], id.view(), store_key(key)) : code;
}

int erase_group(Mirror &mirror, const std::string &key) noexcept {
    std::string_view value;
    int code = find_record(mirror.store[kGroupName], store_key(key), &value);
    if (code) return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_GROUP} : code;
    const bool has_gid = !is_domain_group(line_of(value));
    const IdKey gid(gid_of(line_of(value)));
    if ((code = erase_record(mirror.store[kGroupName], store_key(key))) || !has_gid) return code;
    code = erase_pair(mirror.store[kGroupId], gid.view(), store_key(key));
    return code == ERR_KEY_NOT_FOUND ? int{ERR_ID_NOT_FOUND} : code;
}

int find_gid(Mirror &mirror, uint32_t gid, std::string &key) {
    const int code = find_id(mirror, kGroupName, kGroupId, gid, key);
    return code == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_GROUP} : code;
}

bool is_domain_group(std::string_view line) noexcept {
    return gid_of(line) == MORV_GROUP_NO_GID || is_domain_name(first_field(line));
}

bool is_system_group(std::string_view line) noexcept {
    return gid_of(line) < gid_range.first;
}

bool is_listed_group(std::string_view line, int mask) noexcept {
    if (is_domain_group(line)) return (mask & MORV_GROUP_DOMAIN) != 0;
    if (!(mask & MORV_GROUP_LOCAL)) return false;
    return !is_system_group(line) || is_shown_system_group(first_field(line));
}

bool split_members(std::string_view line, std::string_view *before, std::string_view *members) noexcept {
    size_t at = line.npos;
    for (int i = 0; i < 3; ++i) {
        at = line.find(':', at + 1);
        if (at == line.npos) return false;
    }
    *before = line.substr(0, at + 1);
    *members = line.substr(at + 1);
    return true;
}

}  // namespace morv
