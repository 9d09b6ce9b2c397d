#include <morvsdk/file.h>
#include <morvsdk/internal/sysbkp.h>
#include <string.h>

#include <string>
#include <vector>

#include "core/account/group_change.h"
#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/store/records.h"
#include "sysbkp/block.h"

using namespace morv;

namespace {

constexpr int32_t kType = MORV_GROUP_LOCAL;  // the only one there is
constexpr size_t kNamesTold = 3;

// ---- Export ---------------------------------------------------------------------------------------------

int put_group(Mirror &mirror, const std::string &key, std::string_view line, ItemWriter &items) {
    std::string_view before;
    std::string_view members;
    uint32_t gid;
    if (!split_members(line, &before, &members) || parse_id(line, &gid) != 0) return ERR_FORMAT_ERROR;
    std::string about;
    if (const int code = read_description(mirror, key, &about)) return code;
    items.put_long(kType);
    items.put_string(first_field(line));
    items.put_long(static_cast<int32_t>(gid));
    items.put_string(description_of(about));
    const size_t count_at = items.put_count();
    int32_t count = 0;
    for (Items names(members); names.next(); ++count)
        items.put_string(names.item);
    items.set_count(count_at, count);
    return 0;
}

// The groups that MORVGroupEnum lists, in its order.
int put_groups(Mirror &mirror, ItemWriter &items) {
    if (const int code = need_store(mirror, kGroupDescription)) return code;
    const size_t count_at = items.put_count();
    int32_t count = 0;
    Walk walk(mirror.store[kGroupName]);
    while (walk.next()) {
        const std::string_view line = stored_text(walk.value);
        if (!is_listed_group(line, MORV_GROUP_LOCAL)) continue;
        const int code = put_group(mirror, std::string(stored_text(walk.key)), line, items);
        if (code == ERR_FORMAT_ERROR) {
            const std::string name(first_field(line));
            tell_problem("group %s: %s", name.c_str(), code_text(code));
        }
        if (code) return code;
        ++count;
    }
    items.set_count(count_at, count);
    return walk.code;
}

// ---- Import ---------------------------------------------------------------------------------------------

// A group of the file.
struct Record {
    int32_t type = 0;
    const char *name = "";
    int32_t gid = 0;
    const char *about = "";
    std::string members;
    std::vector<std::string> odd;  // members that no list can hold
};

Record take_group(ItemReader &items) {
    Record r;
    r.type = items.take_long();
    r.name = items.take_string();
    r.gid = items.take_long();
    r.about = items.take_string();
    const int32_t count = items.take_count();
    for (int32_t i = 0; i < count && !items.problem(); ++i) {
        const char *const member = items.take_string();
        if (strpbrk(member, ",:\"\n")) {
            r.odd.emplace_back(member);
        } else if (*member) {
            r.members.append(r.members.empty() ? "" : ",").append(member);
        }
    }
    return r;
}

// What is to be told of a group that is restored.
void tell_about(const Record &r, const GroupOutcome &outcome) {
    if (outcome.gid != static_cast<uint32_t>(r.gid))
        tell_note("group %s: its gid is %u here, and was %d", r.name, outcome.gid, r.gid);
    std::vector<std::string> left_out = r.odd;
    left_out.insert(left_out.end(), outcome.strangers.begin(), outcome.strangers.end());
    if (left_out.empty()) return;
    std::string names;
    for (size_t i = 0; i < left_out.size() && i < kNamesTold; ++i)
        names.append(i ? ", " : "").append(left_out[i]);
    if (left_out.size() > kNamesTold) names.append(", ...");
    tell_missing("group %s: %zu of its members are no users here: %s", r.name, left_out.size(),
                 names.c_str());
}

// Restores what can be restored. Answers 0 when that is all.
int restore(std::vector<Record> &records) {
    int result = 0;
    const auto refuse = [&](const Record &r, const char *why) {
        tell_problem("group %s: %s", r.name, why);
        result = -1;
    };
    std::vector<Record *> sound;
    std::vector<MORVGROUP> groups;
    std::vector<GroupChange> changes;
    groups.reserve(records.size());
    for (Record &r : records) {
        if (r.type != kType) {
            refuse(r, "a kind of group that is not known");
            continue;
        }
        if (!is_showable(r.about)) {
            refuse(r, "control characters in the description");
            continue;
        }
        sound.push_back(&r);
        groups.push_back(
            {const_cast<char *>(r.name), nullptr, static_cast<uint32_t>(r.gid), r.members.data(), 0});
        changes.push_back({r.name, &groups.back(), r.about, true});
    }
    if (changes.empty()) return result;
    std::vector<GroupOutcome> outcomes(changes.size());
    if (const int code = change_groups_if_possible(changes, outcomes.data())) {
        tell_problem("the groups: %s", code_text(code));
        return -1;
    }
    for (size_t i = 0; i < outcomes.size(); ++i) {
        const int code = outcomes[i].code;
        if (code == 0) {
            tell_about(*sound[i], outcomes[i]);
        } else {
            refuse(*sound[i], code == ERR_NO_SUCH_GROUP ? "a group of the system, and none of this one"
                                                        : code_text(code));
        }
    }
    return result;
}

}  // namespace

extern "C" int MORVSysbkpGroupExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_GROUP, "groups", [](ItemWriter &items) {
        const int code = read_accounts(group_mirror_kind, MORV_LOCK_GR, [&](Mirror &mirror) {
            items = ItemWriter();
            return put_groups(mirror, items);
        });
        if (code) tell_problem("the groups: %s", code_text(code));
        return code ? -1 : 0;
    });
}

extern "C" int MORVSysbkpGroupImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_GROUP, version, [](ItemReader &items) {
        std::vector<Record> records;
        const int32_t count = items.take_count();
        for (int32_t i = 0; i < count && !items.problem(); ++i) {
            Record record = take_group(items);
            if (!items.problem()) records.push_back(std::move(record));
        }
        const int restored = restore(records);
        return check_items(items) == 0 ? restored : -1;
    });
}
