#include "core/account/user_change.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <unordered_set>

#include "core/account/account_files.h"
#include "core/account/account_lock.h"
#include "core/account/group_mirror.h"
#include "core/account/limits.h"
#include "core/account/member_lists.h"
#include "core/account/named_lines.h"
#include "core/account/share_mirror.h"
#include "core/account/user_list.h"
#include "core/account/user_mirror.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/store/records.h"
#include "core/text/lines.h"

namespace morv {

namespace {

constexpr std::string_view kHomes = "/var/services/homes/";
constexpr std::string_view kUsersGroup = "USERS";
constexpr mode_t kNewHomeMode = 0700;  // until it is the user's
constexpr mode_t kHomeMode = 0711;
constexpr int kRounds = 5;

// The accounts that the system itself relies on.
bool must_stay(std::string_view key) noexcept {
    return key == "ROOT" || key == "ADMIN" || key == "GUEST";
}

// Names that a home folder cannot have.
bool is_dots(std::string_view name) noexcept {
    return name == "." || name == "..";
}

const char *or_empty(const char *text) noexcept {
    return text ? text : "";
}

bool is_field(const char *text) noexcept {
    return !text || !strpbrk(text, ":\n");
}

bool is_line(const char *text) noexcept {
    return !text || !strchr(text, '\n');
}

bool has_sound_fields(const MORVUSER &user) noexcept {
    return is_field(user.szHome) && is_field(user.szShell) && is_field(user.szExtra) &&
           is_line(user.szDescription) && is_line(user.szPassword);
}

struct UserFreer {
    void operator()(MORVUSER *user) const noexcept { MORVUserFree(user); }
};
using UserPtr = std::unique_ptr<MORVUSER, UserFreer>;

int make_user_ptr(const UserLines &lines, UserPtr *user) noexcept {
    MORVUSER *made = nullptr;
    const int code = make_user({lines.passwd, lines.shadow, lines.misc}, &made);
    user->reset(made);
    return code;
}

// All lines that a user has.
int read_all_lines(Mirror &mirror, const std::string &key, UserLines *lines) {
    UserText text;
    if (const int code = find_user(mirror, key.c_str(), &text)) return code;
    lines->passwd = text.passwd;
    lines->shadow = text.shadow;
    lines->misc = text.misc;
    std::string_view value;
    const int code = find_record(mirror.store[kUserSmb], store_key(key), &value);
    if (code == 0) lines->smb.assign(stored_text(value));
    if (code && code != ERR_KEY_NOT_FOUND) return code;
    // Everybody may be able to write the stores: what becomes a line of a file must be one, and the user's.
    for (const std::string *line : {&lines->passwd, &lines->shadow, &lines->misc, &lines->smb}) {
        if (!line->empty() && !is_line_of(key, *line)) return ERR_FORMAT_ERROR;
    }
    return 0;
}

// One change, worked out.
struct Plan {
    std::string old_key, old_name;  // empty for a new user
    std::string key, name;          // empty for one who goes
    uint32_t uid = 0;
    uint32_t gid = 0;
    UserLines old_lines, lines;
    bool keeps_passwd = false;  // the line in the file is left alone, whatever the mirror says it is
    bool keeps_misc = false;
    std::string home;

    bool adds() const noexcept { return old_key.empty(); }
    bool removes() const noexcept { return key.empty(); }
    bool renames() const noexcept { return !adds() && !removes() && old_name != name; }
    bool changes_nothing() const noexcept { return key == old_key && lines == old_lines; }
};

// What a process that was killed between making a home and giving it away has left.
bool is_unfinished_home(const char *path) noexcept {
    struct stat st;
    return lstat(path, &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == geteuid() &&
           (st.st_mode & 07777) == kNewHomeMode;
}

// A folder made for a new user, removed again unless the change takes effect.
struct NewHome {
    std::string path;
    ~NewHome() {
        if (!path.empty()) rmdir(path.c_str());
    }
    explicit NewHome(std::string p) noexcept : path(std::move(p)) {}
    NewHome(NewHome &&other) noexcept : path(std::exchange(other.path, {})) {}
    NewHome(const NewHome &) = delete;
    NewHome &operator=(NewHome &&) = delete;
    NewHome &operator=(const NewHome &) = delete;
};

class UserChanges {
  public:
    // failed: may be null. codes: null for all or none.
    UserChanges(std::span<const UserChange> changes, int *failed, int *codes) noexcept
        : changes_(changes), failed_(failed), codes_(codes) {}

    int run() {
        for (int round = 0; round < kRounds; ++round) {
            if (const int code = open_mirror(user_mirror_kind, Extent::kWhole, &mirror_)) return code;
            files_.reset(new FileChanges);
            for (const AccountFile file : kUserFiles) {
                if (const int code = files_->load(file)) return code;
            }
            // A tool without our locks may have changed a file since the mirror was looked at.
            if (!mirror_agrees()) continue;
            if (const int code = plan_all()) return code;
            if (plans_.empty()) return 0;
            if (const int code = edit_files()) return code;
            if (const int code = make_homes()) return code;
            forget_dependents();
            open_groups();
            const int code = files_->commit(Record::kUser);
            // What is decided and not done yet gets its homes, too.
            if (code == 0 || files_->is_decided()) {
                for (NewHome &home : homes_)
                    home.path.clear();
            }
            if (code) return code;
            update_mirrors();
            return 0;
        }
        return ERR_OPEN_FAILED;
    }

  private:
    static constexpr AccountFile kUserFiles[] = {AccountFile::kPasswd, AccountFile::kMisc,
                                                 AccountFile::kShadow, AccountFile::kSmbpasswd};

    bool mirror_agrees() const noexcept {
        for (int i = 0; i < 4; ++i) {
            if (mirror_->source[i] != state_of(files_->read_state(kUserFiles[i]))) return false;
        }
        return true;
    }

    // ---- Planning --------------------------------------------------------------------------------------

    int plan_all() {
        plans_.clear();
        taken_names_.clear();
        taken_uids_.clear();
        last_uid_ = 0;
        adds_ = 0;
        room_ = INT_MAX;
        if (codes_) {
            if (const int code = find_room()) return code;
        }
        plans_.reserve(changes_.size());
        for (size_t i = 0; i < changes_.size(); ++i) {
            if (failed_) *failed_ = static_cast<int>(i);
            Plan p;
            const int code = plan(changes_[i], p);
            if (code && (!codes_ || !is_about_one_account(code))) return code;
            if (codes_) codes_[i] = code;
            if (code) continue;
            if (changes_[i].user) taken_names_.insert(p.key);
            adds_ += p.adds();
            if (!p.changes_nothing()) plans_.push_back(std::move(p));
        }
        if (failed_) *failed_ = -1;
        if (codes_ || adds_ == 0) return 0;
        if (const int code = find_room()) return code;
        return adds_ > room_ ? int{ERR_TOO_MANY_USERS} : 0;
    }

    // How many users the model still takes.
    int find_room() noexcept {
        int there;
        if (const int code = count_users(MORV_USER_LOCAL | MORV_USER_DOMAIN, &there)) return code;
        room_ = room_below_limit("maxaccounts", there);
        return 0;
    }

    int plan(const UserChange &change, Plan &p) {
        if (change.user) {
            p.name = change.user->szName;
            if (!BlMLIBIsUserName(p.name.c_str()) || is_dots(p.name) || !upper_name(p.name, p.key))
                return ERR_INVALID_USERNAME;
            if (!has_sound_fields(*change.user)) return ERR_BAD_PARAMETERS;
            if (taken_names_.contains(p.key)) return ERR_USER_EXISTS;
        }
        if (change.old_name) {
            if (!*change.old_name) return ERR_INVALID_USERNAME;
            if (!upper_name(change.old_name, p.old_key)) return ERR_NO_SUCH_USER;
            const int code = read_all_lines(*mirror_, p.old_key, &p.old_lines);
            if (code == ERR_NO_SUCH_USER && change.may_add) {
                p.old_key.clear();
            } else if (code) {
                return code;
            }
        }
        if (!p.adds()) {
            p.old_name = first_field(p.old_lines.passwd);
            if (is_domain_name(p.old_name)) return ERR_INVALID_USERNAME;
            if (change.stored) p.name = p.old_name;
            if (must_stay(p.old_key) && (change.user ? p.old_name != p.name : !change.password))
                return ERR_INVALID_USERNAME;
        }
        if (!change.user) return change.password ? plan_password(change.password, p) : 0;
        if (p.key != p.old_key) {
            std::string_view there;
            const int code = find_record(mirror_->store[kUserName], store_key(p.key), &there);
            if (code == 0) return ERR_USER_EXISTS;
            if (code != ERR_KEY_NOT_FOUND) return code;
        }
        return plan_lines(*change.user, change.stored, p);
    }

    int plan_password(const char *password, Plan &p) {
        if (!is_line(password)) return ERR_BAD_PARAMETERS;
        UserPtr user;
        if (const int code = make_user_ptr(p.old_lines, &user)) return code;
        MORVUSER changed = *user;
        changed.szPassword = const_cast<char *>(password);
        p.key = p.old_key;
        p.name = p.old_name;
        p.uid = user->uid;
        if (const int code = make_user_lines(changed, &p.old_lines, &p.lines)) return code;
        p.lines.passwd = p.old_lines.passwd;
        p.lines.misc = p.old_lines.misc;
        p.keeps_passwd = p.keeps_misc = true;
        return 0;
    }

    int plan_lines(const MORVUSER &user, const SmbFields *stored, Plan &p) {
        MORVUSER wanted = user;
        UserPtr old;
        if (!p.adds()) {
            if (const int code = make_user_ptr(p.old_lines, &old)) return code;
        } else if (adds_ >= room_) {
            return ERR_TOO_MANY_USERS;
        }
        if (stored) {
            for (const std::string_view field :
                 {std::string_view(or_empty(user.szPassword)), stored->lm, stored->nt}) {
                if (field.find_first_of(":\n") != field.npos) return ERR_BAD_PARAMETERS;
            }
        }
        if (stored && old) {
            if (old->uid < uid_range.first) return ERR_NO_SUCH_USER;
            wanted.szName = old->szName;
            wanted.uid = old->uid;
            wanted.gid = old->gid;
            wanted.szHome = old->szHome;
            wanted.szShell = old->szShell;
        }
        if (wanted.uid > kMostId || wanted.gid > kMostId) return ERR_BAD_PARAMETERS;
        if (p.adds() && wanted.uid == 0) {
            if (const int code = find_uid_for(&wanted.uid)) return code;
        } else if (!old || old->uid != wanted.uid) {
            std::string other;
            const int code = find_uid(*mirror_, wanted.uid, other);
            if (code == 0 && other != p.old_key) return ERR_BAD_PARAMETERS;
            if (code != 0 && code != ERR_NO_SUCH_USER) return code;
            if (!taken_uids_.insert(wanted.uid).second) return ERR_BAD_PARAMETERS;
        }
        if (p.adds() && wanted.gid == 0) wanted.gid = gid_of_users();
        p.uid = wanted.uid;
        p.gid = wanted.gid;
        const UserLines *const old_lines = old ? &p.old_lines : nullptr;
        if (const int code = stored ? make_stored_lines(wanted, *stored, old_lines, &p.lines)
                                    : make_user_lines(wanted, old_lines, &p.lines))
            return code;
        if (old) {
            // A line that says the same in another way stays as somebody wrote it.
            UserLines same;
            const int code = make_open_lines(*old, &same);
            p.keeps_passwd = code == 0 && same.passwd == p.lines.passwd;
            p.keeps_misc = code == 0 && same.misc == p.lines.misc && (stored || !p.old_lines.misc.empty());
            if (p.keeps_passwd) p.lines.passwd = p.old_lines.passwd;
            if (p.keeps_misc) p.lines.misc = p.old_lines.misc;
        } else {
            const size_t shell = p.lines.passwd.rfind(':');
            const size_t home = p.lines.passwd.rfind(':', shell - 1) + 1;
            p.home = p.lines.passwd.substr(home, shell - home);
            // Names may be of more bytes than a file system takes.
            if (p.home.size() - (p.home.rfind('/') + 1) > NAME_MAX) return ERR_INVALID_USERNAME;
        }
        return 0;
    }

    // The primary group of who is given none: nobody falls into the superuser's by a zero.
    uint32_t gid_of_users() {
        if (gid_of_users_) return *gid_of_users_;
        uint32_t &gid = gid_of_users_.emplace(0);
        if (files_->load(AccountFile::kGroup) != 0) return 0;
        std::string key;
        for (std::string_view line : Lines(files_->text(AccountFile::kGroup))) {
            if (is_system_line(line) && upper_name(first_field(line), key) && key == kUsersGroup)
                parse_id(line, &gid);
        }
        return gid;
    }

    int find_uid_for(uint32_t *uid) {
        for (uint32_t tries = uid_range.first; tries <= uid_range.last; ++tries) {
            const int code =
                find_free_id(mirror_->store[kUserUid], uid_range, last_uid_ ? &last_uid_ : nullptr, uid);
            if (code) return code;
            last_uid_ = *uid;
            if (taken_uids_.insert(*uid).second) return 0;
        }
        return uid_range.none_free;
    }

    // ---- The files -------------------------------------------------------------------------------------

    int edit_files() {
        LineEdits passwd, misc, shadow, smb;
        members_ = MemberEdits();
        Renames rights;
        added_.clear();
        rebuild_users_ = false;
        for (const Plan &p : plans_) {
            if (!p.keeps_passwd) add_edit(passwd, p, p.lines.passwd);
            if (!p.keeps_misc) add_edit(misc, p, p.lines.misc);
            add_edit(shadow, p, p.lines.shadow);
            add_edit(smb, p, p.lines.smb);
            if (p.adds()) {
                members_.joined = kUsersGroup;
                members_.join.push_back(p.name);
                added_[p.key] = p.name;
            } else if (p.renames() || p.removes()) {
                members_.renames[p.old_key] = p.name;
                rights[p.old_key] = p.name;
                // Lists may name somebody who is only now there.
                if (!p.removes() && p.key != p.old_key) added_[p.key] = p.name;
                rebuild_users_ |= has_further_lines(p.old_key);
            }
        }
        apply(AccountFile::kPasswd, passwd, is_system_line);
        apply(AccountFile::kShadow, shadow, is_named_line);
        apply(AccountFile::kSmbpasswd, smb, is_named_line);
        apply(AccountFile::kMisc, misc, is_named_line);
        if (last_uid_) {
            std::string text;
            rebuild_users_ |=
                set_marker(files_->text(AccountFile::kMisc), kUidMarker, static_cast<int>(last_uid_), text);
            files_->set(AccountFile::kMisc, std::move(text));
        }
        if (added_.empty() && rights.empty()) return 0;
        return edit_others(rights);
    }

    // Whether a user has several passwd lines: the mirror does not tell which uids the others have.
    bool has_further_lines(const std::string &key) const {
        int lines = 0;
        std::string upper;
        for (std::string_view line : Lines(files_->text(AccountFile::kPasswd)))
            lines += is_system_line(line) && upper_name(first_field(line), upper) && upper == key;
        return lines > 1;
    }

    static void add_edit(LineEdits &edits, const Plan &p, const std::string &line) {
        if (p.removes()) {
            edits.drop(p.old_key);
        } else if (line.empty()) {
            edits.drop(p.key);
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

    // The lists of groups, shares and the Apple file service.
    int edit_others(const Renames &rights) {
        for (const AccountFile file : {AccountFile::kGroup, AccountFile::kSmbConf, AccountFile::kAfp}) {
            if (const int code = files_->load(file)) return code;
        }
        names_new_users_in_groups_ = false;
        std::string text;
        changed_groups_.clear();
        edit_members(files_->text(AccountFile::kGroup), members_, text, changed_groups_);
        if (!added_.empty())
            names_new_users_in_groups_ = names_member(files_->text(AccountFile::kGroup), added_);
        files_->set(AccountFile::kGroup, std::move(text));
        names_new_users_in_shares_ =
            !added_.empty() && names_any(files_->text(AccountFile::kSmbConf), added_);
        if (rights.empty()) return 0;
        for (const AccountFile file : {AccountFile::kSmbConf, AccountFile::kAfp}) {
            std::string edited;
            edit_rights(files_->text(file), rights, edited);
            files_->set(file, std::move(edited));
        }
        return 0;
    }

    // ---- Homes -----------------------------------------------------------------------------------------

    int make_homes() {
        homes_.reserve(plans_.size());
        for (const Plan &p : plans_) {
            if (!p.adds()) continue;
            const std::string_view home = p.home;
            if (!home.starts_with(kHomes)) continue;
            const std::string_view name = home.substr(kHomes.size());
            if (name.empty() || is_dots(name) || name.find('/') != name.npos) continue;
            if (const int code = make_home(p)) return code;
        }
        return 0;
    }

    int make_home(const Plan &p) {
        const SysPath path(p.home.c_str());
        NewHome home(path.c_str());
        if (mkdir(path.c_str(), kNewHomeMode) != 0) {
            const bool is_there = errno == EEXIST;
            home.path.clear();
            if (errno == ENOENT || (is_there && !is_unfinished_home(path.c_str()))) return 0;
            if (!is_there)
                return errno == ENOSPC || errno == EDQUOT ? ERR_NOT_ENOUGH_SPACE : ERR_CREATE_FAILED;
        }
        homes_.push_back(std::move(home));
        const UniqueFd fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        return fd && fchown(fd.get(), p.uid, p.gid) == 0 && fchmod(fd.get(), kHomeMode) == 0
                   ? 0
                   : ERR_CREATE_FAILED;
    }

    // ---- The mirrors -----------------------------------------------------------------------------------

    // The files are what counts by now: a mirror that cannot be brought up to date is not marked as theirs,
    // and its next reader builds it anew.
    void update_mirrors() {
        if (rebuild_users_ || update_users() != 0) {
            mirror_.reset();
            forget_mirror(user_mirror_kind);
        }
        update_groups();
    }

    // Lists that name who is to be added become longer. Before the files change: a process killed in
    // between leaves mirrors that are built once too often, not ones that are never built again.
    void forget_dependents() {
        if (names_new_users_in_groups_) forget_mirror(group_mirror_kind);
        if (names_new_users_in_shares_) forget_mirror(share_mirror_kind);
    }

    int update_users() {
        for (const Plan &p : plans_) {
            // Of users who share a uid the first one stays so.
            uint32_t old_uid;
            const bool in_place =
                p.key == p.old_key && parse_id(p.old_lines.passwd, &old_uid) == 0 && old_uid == p.uid;
            if (!p.adds() && !in_place) {
                const int code = erase_user(*mirror_, p.old_key);
                if (code && code != ERR_ID_NOT_FOUND) return code;
            }
            if (p.removes()) continue;
            if (const int code = store_user(*mirror_, p.key, p.uid, p.lines)) return code;
        }
        if (last_uid_) {
            if (const int code = write_current_id(mirror_->store[kUserUid], uid_range, last_uid_))
                return code;
        }
        for (int i = 0; i < 4; ++i)
            mirror_->source[i] = state_of(files_->new_state(kUserFiles[i]));
        return publish_mirror(std::move(mirror_));
    }

    // Before the files change, as only then it can be told whether the mirror is current.
    void open_groups() {
        groups_.reset();
        if (!files_->changes(AccountFile::kGroup)) return;
        groups_ = current_mirror(group_mirror_kind);
        if (groups_ && groups_->source[kFromGroup] != state_of(files_->read_state(AccountFile::kGroup)))
            groups_.reset();
    }

    void update_groups() {
        if (!groups_) return;
        for (const std::string &key : changed_groups_) {
            std::string_view line;
            std::string next;
            if (find_record(groups_->store[kGroupName], store_key(key), &line) != 0) return;
            if (!members_.edit(stored_text(line), next)) continue;
            if (put_record(groups_->store[kGroupName], store_key(key), store_key(next)) != 0) return;
        }
        groups_->source[kFromGroup] = state_of(files_->new_state(AccountFile::kGroup));
        publish_mirror(std::move(groups_));
    }

    std::span<const UserChange> changes_;
    int *failed_;
    int *codes_;
    MirrorPtr mirror_;
    MirrorPtr groups_;
    std::unique_ptr<FileChanges> files_;
    std::vector<Plan> plans_;
    std::unordered_set<std::string> taken_names_;
    std::unordered_set<uint32_t> taken_uids_;
    std::optional<uint32_t> gid_of_users_;
    uint32_t last_uid_ = 0;
    int adds_ = 0;
    int room_ = INT_MAX;
    MemberEdits members_;
    Renames added_;
    std::vector<std::string> changed_groups_;
    bool names_new_users_in_groups_ = false;
    bool names_new_users_in_shares_ = false;
    bool rebuild_users_ = false;
    std::vector<NewHome> homes_;
};

int change(std::span<const UserChange> changes, int *failed, int *codes) noexcept {
    bool only_passwords = true;
    for (const UserChange &change : changes)
        only_passwords &= !change.user && change.password;
    AccountLock lock;
    if (const int code = lock.write(only_passwords ? uint32_t{MORV_LOCK_PW}
                                                   : uint32_t{MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB})) {
        return code;
    }
    const int code = no_throw([&] { return UserChanges(changes, failed, codes).run(); });
    const int released = lock.release();
    return code ? code : released;
}

}  // namespace

int change_users(std::span<const UserChange> changes, int *failed) noexcept {
    return change(changes, failed, nullptr);
}

int change_users_if_possible(std::span<const UserChange> changes, int *codes) noexcept {
    return change(changes, nullptr, codes);
}

int put_user(Mirror &mirror, const std::string &old_key, const MORVUSER &user) {
    std::string key;
    if (!BlMLIBIsUserName(user.szName) || is_dots(user.szName) || !upper_name(user.szName, key))
        return ERR_INVALID_USERNAME;
    if (!has_sound_fields(user) || user.uid > kMostId || user.gid > kMostId) return ERR_BAD_PARAMETERS;
    UserLines old;
    UserLines lines;
    if (!old_key.empty()) {
        if (const int code = read_all_lines(mirror, old_key, &old)) return code;
    }
    if (key != old_key) {
        std::string_view there;
        const int code = find_record(mirror.store[kUserName], store_key(key), &there);
        if (code == 0) return ERR_USER_EXISTS;
        if (code != ERR_KEY_NOT_FOUND) return code;
    }
    if (const int code = make_user_lines(user, old_key.empty() ? nullptr : &old, &lines)) return code;
    bool leave_uid = false;
    if (!old_key.empty()) {
        const int code = erase_user(mirror, old_key);
        leave_uid = code == ERR_ID_NOT_FOUND && key == old_key;
        if (code && !leave_uid) return code;
    }
    return store_user(mirror, key, leave_uid ? std::nullopt : std::optional(user.uid), lines);
}

int dump_users(Mirror &mirror) {
    FileChanges files;
    const struct {
        AccountFile file;
        UserSlot slot;
        UserSource source;
        bool (*is_account)(std::string_view);
    } dumps[] = {{AccountFile::kSmbpasswd, kUserSmb, kFromSmbpasswd, is_named_line},
                 {AccountFile::kShadow, kUserShadow, kFromShadow, is_named_line},
                 {AccountFile::kPasswd, kUserName, kFromPasswd, is_system_line},
                 {AccountFile::kMisc, kUserMisc, kFromMisc, is_named_line}};
    for (const auto &[file, slot, source, is_account] : dumps) {
        if (const int code = files.load(file)) return code;
        // A user whom another tool has added meanwhile would go.
        if (mirror.source[source] != state_of(files.read_state(file))) return ERR_STORE_INVALID;
        LineEdits edits(LineEdits::kGo);
        Walk walk(mirror.store[slot]);
        while (walk.next()) {
            const std::string_view line = line_of(walk.value);
            if (is_domain_name(first_field(line))) {
                edits.keep(stored_text(walk.key));
            } else if (!is_line_of(stored_text(walk.key), line)) {
                return ERR_FORMAT_ERROR;
            } else {
                edits.put(stored_text(walk.key), line);
            }
        }
        if (walk.code) return walk.code;
        std::string text;
        edits.apply(files.text(file), is_account, text);
        files.set(file, std::move(text));
    }
    uint32_t last;
    if (read_current_id(mirror.store[kUserUid], uid_range, &last) == 0 && last >= uid_range.first &&
        last <= uid_range.last) {
        std::string text;
        set_marker(files.text(AccountFile::kMisc), kUidMarker, static_cast<int>(last), text);
        files.set(AccountFile::kMisc, std::move(text));
    }
    return files.write_versions();
}

}  // namespace morv
