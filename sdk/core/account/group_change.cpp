#include "core/account/group_change.h"

#include <morvsdk/file.h>
#include <string.h>

#include <memory>
#include <optional>
#include <unordered_set>

#include "core/account/account_files.h"
#include "core/account/account_lock.h"
#include "core/account/group_members.h"
#include "core/account/group_mirror.h"
#include "core/account/limits.h"
#include "core/account/named_lines.h"
#include "core/account/rights_lists.h"
#include "core/account/share_mirror.h"
#include "core/account/user_mirror.h"
#include "core/account/valid_names.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"

namespace morv {

namespace {

constexpr int kRounds = 5;

const char *or_empty(const char *text) noexcept {
    return text ? text : "";
}

bool is_field(std::string_view text) noexcept {
    return text.find_first_of(":\n") == text.npos;
}

std::string_view members_of(std::string_view line) noexcept {
    std::string_view before;
    std::string_view members;
    split_members(line, &before, &members);
    return members;
}

// Whether a name is free for a new group.
int check_free(Mirror &mirror, const std::string &key) noexcept {
    std::string_view there;
    const int code = find_record(mirror.store[kGroupName], store_key(key), &there);
    return code == ERR_KEY_NOT_FOUND ? 0 : code ? code : int{ERR_GROUP_EXISTS};
}

// The line of a group with the members that are users.
int pack_line(const Accounts &users, std::string_view name, uint32_t gid, std::string_view members,
              std::string &line) {
    std::string valid;
    int count;
    if (const int code = users.normalise(members, valid, &count)) return code;
    line = group_line(name, gid, valid);
    return 0;
}

// The names of a list that are not among those of another one.
std::vector<std::string> missing_in(std::string_view list, std::string_view there) {
    std::unordered_set<std::string> keys;
    std::vector<std::string> missing;
    std::string key;
    for (Items items(there); items.next();) {
        if (upper_name(items.item, key)) keys.insert(key);
    }
    for (Items items(list); items.next();) {
        if (!upper_name(items.item, key) || !keys.contains(key)) missing.emplace_back(items.item);
    }
    return missing;
}

// The change of one group, worked out.
struct Plan {
    std::string old_key, old_name;  // empty for a new group
    std::string key, name;          // empty for one that goes
    uint32_t gid = 0;
    std::string old_line, line;    // of the mirror
    std::string old_about, about;  // lines of the descriptions; empty: none
    const std::string &key_there() const noexcept { return adds() ? key : old_key; }
    bool adds() const noexcept { return old_key.empty(); }
    bool removes() const noexcept { return key.empty(); }
    bool renames() const noexcept { return !adds() && !removes() && old_name != name; }
    bool changes_nothing() const noexcept { return key == old_key && line == old_line && about == old_about; }
};

class GroupChanges {
  public:
    // outcomes: null for all or none.
    GroupChanges(std::span<const GroupChange> changes, GroupOutcome *outcomes) noexcept
        : changes_(changes), outcomes_(outcomes) {}

    int run(Record record) {
        for (int round = 0; round < kRounds; ++round) {
            if (const int code = open_mirror(group_mirror_kind, Extent::kWhole, &mirror_)) return code;
            files_.reset(new FileChanges);
            for (const AccountFile file : kGroupFiles) {
                if (const int code = files_->load(file)) return code;
            }
            // A tool without our locks may have changed a file since the mirror was looked at.
            if (!mirror_agrees()) continue;
            if (const int code = plan_all()) return code;
            if (plans_.empty()) return 0;
            if (const int code = edit_files()) return code;
            // Before the files change: a process killed in between leaves a mirror that is built once too
            // often.
            if (is_named_in_shares_) forget_mirror(share_mirror_kind);
            if (const int code = files_->commit(record)) return code;
            // The files are what counts by now: a mirror that cannot be brought up to date is not marked as
            // theirs, and its next reader builds it anew.
            update_mirror();
            return 0;
        }
        return ERR_OPEN_FAILED;
    }

  private:
    static constexpr AccountFile kGroupFiles[] = {AccountFile::kGroup, AccountFile::kGroupDesc};

    bool mirror_agrees() const noexcept {
        for (int i = 0; i < 2; ++i) {
            if (mirror_->source[i] != state_of(files_->read_state(kGroupFiles[i]))) return false;
        }
        return true;
    }

    // ---- Planning --------------------------------------------------------------------------------------

    int plan_all() {
        for (const GroupChange &change : changes_) {
            if (!change.group || users_) continue;
            if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users_)) return code;
            if (const int code = find_room()) return code;
        }
        plans_.reserve(changes_.size());
        for (size_t i = 0; i < changes_.size(); ++i) {
            Plan p;
            GroupOutcome outcome;
            outcome.code = plan(changes_[i], p, outcome.strangers);
            outcome.gid = p.gid;
            const int code = outcome.code;
            if (code && (!outcomes_ || !is_about_one_account(code))) return code;
            if (outcomes_) outcomes_[i] = std::move(outcome);
            if (code) continue;
            room_ -= p.adds();
            taken_names_.insert({p.key, p.old_key});
            if (!p.changes_nothing()) plans_.push_back(std::move(p));
        }
        return 0;
    }

    // How many groups the model still takes.
    int find_room() {
        int there = 0;
        Walk walk(mirror_->store[kGroupName]);
        while (walk.next())
            there += is_listed_group(stored_text(walk.value), MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN);
        room_ = room_below_limit("maxgroups", there);
        return walk.code;
    }

    int plan(const GroupChange &change, Plan &p, std::vector<std::string> &strangers) {
        if (change.old_name) {
            if (!upper_name(change.old_name, p.old_key)) return ERR_NO_SUCH_GROUP;
            const int code = read_group_line(*mirror_, p.old_key, &p.old_line);
            if (code == ERR_NO_SUCH_GROUP && change.restores) {
                // A description may be there without its group.
                const int failed = read_description(*mirror_, p.old_key, &p.old_about);
                if (failed) return failed;
                p.old_key.clear();
            } else if (code) {
                return code;
            } else {
                if (is_domain_group(p.old_line)) return ERR_NO_SUCH_GROUP;
                p.old_name = first_field(p.old_line);
                if (const int failed = read_description(*mirror_, p.old_key, &p.old_about)) return failed;
            }
        }
        const char *const about = change.description;
        if (about && strchr(about, '\n')) return ERR_BAD_PARAMETERS;
        if (change.group) {
            if (const int code = plan_group(change, p, strangers)) return code;
        } else if (!about) {
            return is_system_group(p.old_line) ? int{ERR_INVALID_GROUPNAME} : 0;
        } else {
            p.key = p.old_key;
            p.name = p.old_name;
            p.line = p.old_line;
            if (parse_id(p.old_line, &p.gid) != 0) return ERR_FORMAT_ERROR;
        }
        p.about = p.old_about;
        if (about && description_of(p.old_about) != about) {
            p.about = *about ? p.name + ":" + about : std::string();
        } else if (p.renames() && !p.about.empty()) {
            p.about.replace(0, first_field(p.about).size(), p.name);
        }
        return 0;
    }

    int plan_group(const GroupChange &change, Plan &p, std::vector<std::string> &strangers) {
        const MORVGROUP &group = *change.group;
        const bool keeps = change.restores && !p.adds();
        p.name = keeps ? p.old_name : group.szName;
        const bool keeps_name = !p.adds() && p.name == p.old_name;
        if (!keeps_name) {
            // Other tools are freer with the names of their groups.
            if (!BlMLIBIsGroupName(p.name.c_str())) return ERR_INVALID_GROUPNAME;
            if (!p.adds() && is_system_group(p.old_line)) return ERR_INVALID_GROUPNAME;
        }
        if (!upper_name(p.name, p.key)) return ERR_INVALID_GROUPNAME;
        std::string members = or_empty(group.szMembers);
        if (!is_field(members) || (group.gid > kMostId && !change.restores)) return ERR_BAD_PARAMETERS;
        if (taken_names_.contains(p.key)) return ERR_GROUP_EXISTS;
        if (p.key != p.old_key) {
            if (const int code = check_free(*mirror_, p.key)) return code;
        }
        if (p.adds() && room_ == 0) return ERR_TOO_MANY_GROUPS;
        if (const int code = change.restores ? plan_restored_gid(group.gid, p) : plan_gid(group.gid, p))
            return code;
        if (keeps && p.key == kEverybody) members = std::string(members_of(p.old_line)) + "," + members;
        const Accounts users(users_.get(), nullptr);
        if (const int code = pack_line(users, p.name, p.gid, members, p.line)) return code;
        if (outcomes_) strangers = missing_in(or_empty(group.szMembers), members_of(p.line));
        // A line that says the same in another way stays as somebody wrote it.
        uint32_t old_gid;
        if (keeps_name && parse_id(p.old_line, &old_gid) == 0 && old_gid == p.gid &&
            members_of(p.line) == members_of(p.old_line)) {
            p.line = p.old_line;
        }
        return 0;
    }

    int plan_gid(uint32_t wanted, Plan &p) {
        p.gid = wanted;
        if (p.adds() && wanted == 0) return take_gid(p);
        uint32_t old_gid;
        if (!p.adds()) {
            if (const int code = parse_id(p.old_line, &old_gid)) return code;
            if (old_gid == wanted) return 0;
            if (is_system_group(p.old_line)) return ERR_BAD_PARAMETERS;
        }
        if (wanted < gid_range.first || wanted > gid_range.last) return ERR_BAD_PARAMETERS;
        bool is_free = false;
        const int code = claim_gid(wanted, &is_free);
        return code || is_free ? code : int{ERR_BAD_PARAMETERS};
    }

    int plan_restored_gid(uint32_t wanted, Plan &p) {
        if (!p.adds()) {
            if (!is_listed_group(p.old_line, MORV_GROUP_LOCAL)) return ERR_NO_SUCH_GROUP;
            return parse_id(p.old_line, &p.gid);
        }
        if (wanted < gid_range.first) return ERR_NO_SUCH_GROUP;
        p.gid = wanted;
        bool is_free = false;
        const int code = wanted > gid_range.last ? 0 : claim_gid(wanted, &is_free);
        return code || is_free ? code : take_gid(p);
    }

    // Takes a certain gid if nobody has it.
    int claim_gid(uint32_t gid, bool *is_free) {
        std::string other;
        const int code = find_gid(*mirror_, gid, other);
        if (code && code != ERR_NO_SUCH_GROUP) return code;
        *is_free = code != 0 && taken_gids_.insert(gid).second;
        return 0;
    }

    int take_gid(Plan &p) {
        for (uint32_t tries = gid_range.first; tries <= gid_range.last; ++tries) {
            if (const int code = find_free_id(mirror_->store[kGroupId], gid_range,
                                              last_gid_ ? &last_gid_ : nullptr, &p.gid))
                return code;
            last_gid_ = p.gid;
            if (taken_gids_.insert(p.gid).second) return 0;
        }
        return gid_range.none_free;
    }

    // ---- The files -------------------------------------------------------------------------------------

    int edit_files() {
        LineEdits groups, abouts;
        Renames named, renames;  // in lists of rights
        for (const Plan &p : plans_) {
            if (p.line != p.old_line) edit(groups, p, file_line(p));
            if (p.about != p.old_about || p.removes()) edit(abouts, p, p.about);
            if (p.adds() || p.renames()) named["@" + p.key];
            if (p.adds() || !(p.renames() || p.removes())) continue;
            // Samba has further marks for where it looks a group up.
            for (const char *mark : {"@", "+", "&"})
                renames[mark + p.old_key] = p.removes() ? std::string() : mark + p.name;
        }
        by_name_.reset();
        apply(AccountFile::kGroup, groups, is_system_line);
        apply(AccountFile::kGroupDesc, abouts, is_named_line);
        if (last_gid_) {
            std::string text;
            set_marker(files_->text(AccountFile::kGroup), kGidMarker, static_cast<int>(last_gid_), text);
            files_->set(AccountFile::kGroup, std::move(text));
        }
        return named.empty() && renames.empty() ? 0 : edit_rights_lists(named, renames);
    }

    // The line for the file. Its list of members stays as somebody wrote it while it says the same.
    std::string file_line(const Plan &p) {
        if (p.adds() || p.removes() || members_of(p.line) != members_of(p.old_line)) return p.line;
        if (!by_name_) by_name_ = index_lines(files_->text(AccountFile::kGroup), is_system_line);
        const auto found = by_name_->find(p.old_key);
        return found == by_name_->end() ? p.line : group_line(p.name, p.gid, members_of(found->second));
    }

    static void edit(LineEdits &edits, const Plan &p, const std::string &line) {
        if (line.empty()) {
            edits.drop(p.key_there());
        } else if (p.adds() || p.key == p.old_key) {
            edits.put(p.key, line);
        } else {
            edits.rename(p.old_key, p.key, line);
        }
    }

    void apply(AccountFile file, const LineEdits &edits, bool (*is_account)(std::string_view)) {
        std::string text;
        text.reserve(files_->text(file).size() + 256 * plans_.size());
        edits.apply(files_->text(file), is_account, text);
        files_->set(file, std::move(text));
    }

    // The lists of shares and the Apple file service.
    int edit_rights_lists(const Renames &named, const Renames &renames) {
        for (const AccountFile file : {AccountFile::kSmbConf, AccountFile::kAfp}) {
            if (const int code = files_->load(file)) return code;
        }
        is_named_in_shares_ = !named.empty() && names_any(files_->text(AccountFile::kSmbConf), named);
        if (renames.empty()) return 0;
        for (const AccountFile file : {AccountFile::kSmbConf, AccountFile::kAfp}) {
            std::string text;
            edit_rights(files_->text(file), renames, text);
            files_->set(file, std::move(text));
        }
        return 0;
    }

    // ---- The mirror ------------------------------------------------------------------------------------

    int update_mirror() noexcept {
        if (!files_->changes(AccountFile::kGroup) && !files_->changes(AccountFile::kGroupDesc)) return 0;
        for (const Plan &p : plans_) {
            if (const int code = update_mirror(p)) return code;
        }
        if (last_gid_) {
            if (const int code = write_current_id(mirror_->store[kGroupId], gid_range, last_gid_))
                return code;
        }
        for (int i = 0; i < 2; ++i)
            mirror_->source[i] = state_of(files_->new_state(kGroupFiles[i]));
        return publish_mirror(std::move(mirror_));
    }

    int update_mirror(const Plan &p) noexcept {
        if (!p.adds() && p.line != p.old_line) {
            const int code = erase_group(*mirror_, p.old_key);
            if (code && code != ERR_ID_NOT_FOUND) return code;
        }
        if (!p.removes() && p.line != p.old_line) {
            if (const int code = store_group(*mirror_, p.key, p.gid, p.line)) return code;
        }
        if (p.about == p.old_about && !p.removes()) return 0;
        MORVBDB *const about = mirror_->store[kGroupDescription];
        if (const int code = erase_record(about, store_key(p.key_there()))) return code;
        return p.about.empty() ? 0 : put_record(about, store_key(p.key), store_key(p.about));
    }

    std::span<const GroupChange> changes_;
    GroupOutcome *outcomes_;
    MirrorPtr mirror_;
    MirrorPtr users_;
    std::unique_ptr<FileChanges> files_;
    std::vector<Plan> plans_;
    std::unordered_set<std::string> taken_names_;
    std::unordered_set<uint32_t> taken_gids_;
    uint32_t last_gid_ = 0;
    int room_ = 0;
    std::optional<LinesByName> by_name_;
    bool is_named_in_shares_ = false;
};

// The edit of a file that makes it hold what a store holds. `wanted` gets a line of the store, and that of
// the same account in the file or null, and answers the line for the file; empty: what is there stays.
template <class F>
int dump_store(MORVBDB *store, FileChanges &files, AccountFile file, bool (*is_line)(std::string_view),
               F &&wanted) {
    const LinesByName lines = index_lines(files.text(file), is_line);
    LineEdits edits(LineEdits::kGo);
    std::string line;
    Walk walk(store);
    while (walk.next()) {
        const std::string key(stored_text(walk.key));
        const auto there = lines.find(key);
        const std::string_view *const old = there == lines.end() ? nullptr : &there->second;
        line.clear();
        if (!is_line_of(key, line_of(walk.value))) return ERR_FORMAT_ERROR;
        if (const int code = wanted(line_of(walk.value), old, line)) return code;
        if (line.empty() || (old && *old == line)) {
            edits.keep(key);
        } else {
            edits.put(key, line);
        }
    }
    if (walk.code) return walk.code;
    std::string text;
    edits.apply(files.text(file), is_line, text);
    files.set(file, std::move(text));
    return 0;
}

int change(std::span<const GroupChange> changes, GroupOutcome *outcomes) noexcept {
    uint32_t bits = MORV_LOCK_GR;
    bool sets = false;
    for (const GroupChange &change : changes) {
        sets |= change.group != nullptr;
        if (change.group) bits |= MORV_LOCK_PW | MORV_LOCK_SMB;
        if (!change.group && !change.description) bits |= MORV_LOCK_SMB;
    }
    AccountLock lock;
    if (const int code = lock.write(bits)) return code;
    const int code =
        no_throw([&] { return GroupChanges(changes, outcomes).run(sets ? Record::kUser : Record::kGroup); });
    const int released = lock.release();
    return code ? code : released;
}

}  // namespace

int change_groups(std::span<const GroupChange> changes) noexcept {
    return change(changes, nullptr);
}

int change_groups_if_possible(std::span<const GroupChange> changes, GroupOutcome *outcomes) noexcept {
    return change(changes, outcomes);
}

int pack_group(std::string_view name, uint32_t gid, std::string_view members, std::string &line) {
    MirrorPtr users;
    if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users)) return code;
    return pack_line(Accounts(users.get(), nullptr), name, gid, members, line);
}

int put_group(Mirror &mirror, const std::string &old_key, const MORVGROUP &group) {
    std::string old_line;
    std::string about;
    if (!old_key.empty()) {
        if (const int code = read_group_line(mirror, old_key, &old_line)) return code;
        if (const int code = read_description(mirror, old_key, &about)) return code;
    }
    const std::string name = group.szName;
    if (is_domain_name(name) || group.gid == MORV_GROUP_NO_GID ||
        (!old_line.empty() && is_domain_group(old_line))) {
        MORV_LOG(LOG_ERR, "Cannot set not-local group. group name=[%s]", name.c_str());
        return ERR_INVALID_GROUPNAME;
    }
    std::string key;
    if ((name != first_field(old_line) && !BlMLIBIsGroupName(name.c_str())) || !upper_name(name, key))
        return ERR_INVALID_GROUPNAME;
    if (!is_field(or_empty(group.szMembers))) return ERR_BAD_PARAMETERS;
    if (key != old_key) {
        if (const int code = check_free(mirror, key)) return code;
    }
    uint32_t gid = group.gid;
    const bool takes_gid = old_key.empty() && gid == 0;
    if (gid > kMostId) return ERR_BAD_PARAMETERS;
    if (takes_gid) {
        if (const int code = find_free_id(mirror.store[kGroupId], gid_range, nullptr, &gid)) return code;
    }
    std::string line;
    if (const int code = pack_group(name, gid, or_empty(group.szMembers), line)) return code;

    if (!old_key.empty()) {
        const int code = erase_group(mirror, old_key);
        if (code && code != ERR_ID_NOT_FOUND) return code;
    }
    if (const int code = store_group(mirror, key, gid, line)) return code;
    if (takes_gid) {
        if (const int code = write_current_id(mirror.store[kGroupId], gid_range, gid)) return code;
    }
    if (key == old_key || about.empty()) return 0;
    MORVBDB *const store = mirror.store[kGroupDescription];
    about.replace(0, first_field(about).size(), name);
    const int code = erase_record(store, store_key(old_key));
    return code ? code : put_record(store, store_key(key), store_key(about));
}

int dump_groups(Mirror &mirror) {
    FileChanges files;
    constexpr AccountFile kFiles[] = {AccountFile::kGroup, AccountFile::kGroupDesc};
    for (int i = 0; i < 2; ++i) {
        if (const int code = files.load(kFiles[i])) return code;
        // A group that another tool has added meanwhile would go.
        if (mirror.source[i] != state_of(files.read_state(kFiles[i]))) return ERR_STORE_INVALID;
    }
    MirrorPtr users;
    if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users)) return code;
    const Accounts accounts(users.get(), nullptr);
    std::string valid;
    const auto group = [&](std::string_view line, const std::string_view *old, std::string &out) {
        if (is_domain_group(line)) return 0;
        out = line;
        if (!old) return 0;
        // The members that are no users are missing in the store, and stay in a list that says the same.
        int count;
        valid.clear();
        if (const int code = accounts.normalise(members_of(*old), valid, &count)) return code;
        if (members_of(line) != valid) return 0;
        out.resize(out.size() - valid.size());
        out.append(members_of(*old));
        return 0;
    };
    const auto description = [](std::string_view line, const std::string_view *, std::string &out) {
        out = line;
        return 0;
    };
    if (const int code =
            dump_store(mirror.store[kGroupName], files, AccountFile::kGroup, is_system_line, group))
        return code;
    if (const int code = dump_store(mirror.store[kGroupDescription], files, AccountFile::kGroupDesc,
                                    is_named_line, description))
        return code;
    uint32_t last;
    if (read_current_id(mirror.store[kGroupId], gid_range, &last) == 0 && last >= gid_range.first &&
        last <= gid_range.last) {
        std::string text;
        set_marker(files.text(AccountFile::kGroup), kGidMarker, static_cast<int>(last), text);
        files.set(AccountFile::kGroup, std::move(text));
    }
    if (const int code = files.commit(Record::kGroup)) return code;
    for (int i = 0; i < 2; ++i)
        mirror.source[i] = state_of(files.new_state(kFiles[i]));
    return publish_stores(mirror);
}

}  // namespace morv
