#include "core/account/group_mirror.h"

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
    IdKey gid;
};

int read_groups(std::string_view text, const Accounts &accounts, std::vector<Group> &groups) {
    std::string key;
    std::string members;
    for (std::string_view whole : Lines(text)) {
        const std::string_view line = without_line_feed(whole);
        if (!is_system_line(line) || !upper_name(first_field(line), key) || key[0] == '#') continue;
        uint32_t gid;
        if (const int code = parse_id(line, &gid)) return code;
        std::string_view before;
        std::string_view list;
        if (!split_members(line, &before, &list)) continue;
        members.clear();
        int count;
        if (const int code = accounts.normalise(list, members, &count)) return code;
        groups.push_back({std::string(store_key(key)), std::string(before) + members + '\0', IdKey(gid)});
    }
    return 0;
}

int store_groups(Mirror &mirror, std::vector<Group> &groups) {
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group &a, const Group &b) { return a.key < b.key; });
    for (const Group &group : groups) {
        if (const int code = put_record(mirror.store[kGroupName], group.key, group.line)) return code;
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group &a, const Group &b) { return a.gid.view() < b.gid.view(); });
    for (const Group &group : groups) {
        if (const int code = put_record(mirror.store[kGroupId], group.gid.view(), group.key)) return code;
    }
    return 0;
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
    "/tmp/.db.group", "/tmp/.db.group.tmp", "/tmp/lock/mirror_group", kStores, kSources, build};

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
