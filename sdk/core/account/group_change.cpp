#include "core/account/group_change.h"

#include <morvsdk/file.h>
#include <string.h>

#include <memory>

#include "core/account/account_files.h"
#include "core/account/account_lock.h"
#include "core/account/group_mirror.h"
#include "core/account/limits.h"
#include "core/account/named_lines.h"
#include "core/account/rights_lists.h"
#include "core/account/share_mirror.h"
#include "core/account/user_mirror.h"
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

// The change of one group, worked out.
struct Plan {
    std::string old_key, old_name;  // empty for a new group
    std::string key, name;          // empty for one that goes
    uint32_t gid = 0;
    bool takes_gid = false;        // the next free one
    std::string old_line, line;    // of the mirror
    std::string old_about, about;  // lines of the descriptions; empty: none
    bool adds() const noexcept { return old_key.empty(); }
    bool removes() const noexcept { return key.empty(); }
    bool renames() const noexcept { return !adds() && !removes() && old_name != name; }
};

class Change {
  public:
    explicit Change(const GroupChange &change) noexcept : change_(change) {}

    int run(Record record) {
        for (int round = 0; round < kRounds; ++round) {
            if (const int code = open_mirror(group_mirror_kind, Extent::kWhole, &mirror_)) return code;
            files_.reset(new FileChanges);
            for (const AccountFile file : kGroupFiles) {
                if (const int code = files_->load(file)) return code;
            }
            // A tool without our locks may have changed a file since the mirror was looked at.
            if (!mirror_agrees()) continue;
            plan_ = Plan();
            if (const int code = plan()) return code;
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

    int plan() {
        Plan &p = plan_;
        if (change_.old_name) {
            if (!upper_name(change_.old_name, p.old_key)) return ERR_NO_SUCH_GROUP;
            if (const int code = read_group_line(*mirror_, p.old_key, &p.old_line)) return code;
            if (is_domain_group(p.old_line)) return ERR_NO_SUCH_GROUP;
            p.old_name = first_field(p.old_line);
            if (const int code = read_description(*mirror_, p.old_key, &p.old_about)) return code;
        }
        if (change_.group) return plan_group(*change_.group);
        if (!change_.description) return is_system_group(p.old_line) ? int{ERR_INVALID_GROUPNAME} : 0;
        return plan_description(change_.description);
    }

    int plan_group(const MORVGROUP &group) {
        Plan &p = plan_;
        p.name = group.szName;
        const bool keeps_name = !p.adds() && p.name == p.old_name;
        if (!keeps_name) {
            // Other tools are freer with the names of their groups.
            if (!BlMLIBIsGroupName(p.name.c_str())) return ERR_INVALID_GROUPNAME;
            if (!p.adds() && is_system_group(p.old_line)) return ERR_INVALID_GROUPNAME;
        }
        if (!upper_name(p.name, p.key)) return ERR_INVALID_GROUPNAME;
        if (!is_field(or_empty(group.szMembers)) || group.gid > kMostId) return ERR_BAD_PARAMETERS;
        if (p.key != p.old_key) {
            if (const int code = check_free(*mirror_, p.key)) return code;
        }
        if (p.adds()) {
            if (const int code = check_limit()) return code;
        }
        if (const int code = plan_gid(group.gid)) return code;
        if (const int code = pack_group(p.name, p.gid, or_empty(group.szMembers), p.line)) return code;
        // A line that says the same in another way stays as somebody wrote it.
        uint32_t old_gid;
        if (keeps_name && parse_id(p.old_line, &old_gid) == 0 && old_gid == p.gid &&
            members_of(p.line) == members_of(p.old_line)) {
            p.line = p.old_line;
        }
        p.about = p.old_about;
        if (p.renames() && !p.about.empty()) p.about.replace(0, first_field(p.about).size(), p.name);
        return 0;
    }

    int plan_gid(uint32_t wanted) {
        Plan &p = plan_;
        p.gid = wanted;
        p.takes_gid = p.adds() && wanted == 0;
        if (p.takes_gid) return find_free_id(mirror_->store[kGroupId], gid_range, nullptr, &p.gid);
        uint32_t old_gid;
        if (!p.adds()) {
            if (const int code = parse_id(p.old_line, &old_gid)) return code;
            if (old_gid == wanted) return 0;
            if (is_system_group(p.old_line)) return ERR_BAD_PARAMETERS;
        }
        if (wanted < gid_range.first || wanted > gid_range.last) return ERR_BAD_PARAMETERS;
        std::string other;
        const int code = find_gid(*mirror_, wanted, other);
        return code == ERR_NO_SUCH_GROUP ? 0 : code ? code : int{ERR_BAD_PARAMETERS};
    }

    int check_limit() {
        int there = 0;
        Walk walk(mirror_->store[kGroupName]);
        while (walk.next())
            there += is_listed_group(stored_text(walk.value), MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN);
        if (walk.code) return walk.code;
        return exceeds_limit("maxgroups", there, 1) ? int{ERR_TOO_MANY_GROUPS} : 0;
    }

    int plan_description(const char *text) {
        Plan &p = plan_;
        if (strchr(text, '\n')) return ERR_BAD_PARAMETERS;
        p.key = p.old_key;
        p.name = p.old_name;
        p.line = p.old_line;
        p.about = p.old_about;
        if (parse_id(p.old_line, &p.gid) != 0) return ERR_FORMAT_ERROR;
        if (description_of(p.old_about) != text) p.about = *text ? p.name + ":" + text : std::string();
        return 0;
    }

    // ---- The files -------------------------------------------------------------------------------------

    int edit_files() {
        const Plan &p = plan_;
        is_named_in_shares_ = false;
        if (p.line != p.old_line) edit(AccountFile::kGroup, is_system_line, file_line());
        if (p.about != p.old_about || p.removes()) edit(AccountFile::kGroupDesc, is_named_line, p.about);
        if (p.takes_gid) {
            std::string text;
            set_marker(files_->text(AccountFile::kGroup), kGidMarker, static_cast<int>(p.gid), text);
            files_->set(AccountFile::kGroup, std::move(text));
        }
        return p.adds() || p.renames() || p.removes() ? edit_rights_lists() : 0;
    }

    // The line for the file. Its list of members stays as somebody wrote it while it says the same.
    std::string file_line() const {
        const Plan &p = plan_;
        if (p.adds() || p.removes() || members_of(p.line) != members_of(p.old_line)) return p.line;
        const LinesByName lines = index_lines(files_->text(AccountFile::kGroup), is_system_line);
        const auto found = lines.find(p.old_key);
        return found == lines.end() ? p.line : group_line(p.name, p.gid, members_of(found->second));
    }

    void edit(AccountFile file, bool (*is_line)(std::string_view), const std::string &line) {
        const Plan &p = plan_;
        LineEdits edits;
        if (line.empty()) {
            edits.drop(p.old_key);
        } else if (p.adds() || p.key == p.old_key) {
            edits.put(p.key, line);
        } else {
            edits.rename(p.old_key, p.key, line);
        }
        std::string text;
        text.reserve(files_->text(file).size() + line.size() + 1);
        edits.apply(files_->text(file), is_line, text);
        files_->set(file, std::move(text));
    }

    // The lists of shares and the Apple file service.
    int edit_rights_lists() {
        const Plan &p = plan_;
        for (const AccountFile file : {AccountFile::kSmbConf, AccountFile::kAfp}) {
            if (const int code = files_->load(file)) return code;
        }
        if (!p.removes())
            is_named_in_shares_ = names_any(files_->text(AccountFile::kSmbConf), {{"@" + p.key, {}}});
        if (p.adds()) return 0;
        // Samba has further marks for where it looks a group up.
        Renames renames;
        for (const char *mark : {"@", "+", "&"})
            renames[mark + p.old_key] = p.removes() ? std::string() : mark + p.name;
        for (const AccountFile file : {AccountFile::kSmbConf, AccountFile::kAfp}) {
            std::string text;
            edit_rights(files_->text(file), renames, text);
            files_->set(file, std::move(text));
        }
        return 0;
    }

    // ---- The mirror ------------------------------------------------------------------------------------

    int update_mirror() noexcept {
        const Plan &p = plan_;
        if (!files_->changes(AccountFile::kGroup) && !files_->changes(AccountFile::kGroupDesc)) return 0;
        if (!p.adds() && p.line != p.old_line) {
            const int code = erase_group(*mirror_, p.old_key);
            if (code && code != ERR_ID_NOT_FOUND) return code;
        }
        if (!p.removes() && p.line != p.old_line) {
            if (const int code = store_group(*mirror_, p.key, p.gid, p.line)) return code;
        }
        MORVBDB *const about = mirror_->store[kGroupDescription];
        if (p.about != p.old_about || p.removes()) {
            if (const int code = erase_record(about, store_key(p.old_key))) return code;
            if (!p.about.empty()) {
                if (const int code = put_record(about, store_key(p.key), store_key(p.about))) return code;
            }
        }
        if (p.takes_gid) {
            if (const int code = write_current_id(mirror_->store[kGroupId], gid_range, p.gid)) return code;
        }
        for (int i = 0; i < 2; ++i)
            mirror_->source[i] = state_of(files_->new_state(kGroupFiles[i]));
        return publish_mirror(std::move(mirror_));
    }

    const GroupChange &change_;
    MirrorPtr mirror_;
    std::unique_ptr<FileChanges> files_;
    Plan plan_;
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

}  // namespace

int change_group(const GroupChange &change) noexcept {
    const bool sets = change.group != nullptr;
    uint32_t bits = MORV_LOCK_GR;
    if (sets) bits |= MORV_LOCK_PW | MORV_LOCK_SMB;
    if (!sets && !change.description) bits |= MORV_LOCK_SMB;
    AccountLock lock;
    if (const int code = lock.write(bits)) return code;
    const int code = no_throw([&] { return Change(change).run(sets ? Record::kUser : Record::kGroup); });
    const int released = lock.release();
    return code ? code : released;
}

int pack_group(std::string_view name, uint32_t gid, std::string_view members, std::string &line) {
    MirrorPtr users;
    if (const int code = open_mirror(user_mirror_kind, Extent::kFirst, &users)) return code;
    std::string valid;
    int count;
    if (const int code = Accounts(users.get(), nullptr).normalise(members, valid, &count)) return code;
    line = group_line(name, gid, valid);
    return 0;
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
