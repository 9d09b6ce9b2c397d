#include "core/account/share_change.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <set>
#include <vector>

#include "core/account/account_files.h"
#include "core/account/account_lock.h"
#include "core/account/limits.h"
#include "core/account/named_lines.h"
#include "core/account/share_folders.h"
#include "core/account/share_keys.h"
#include "core/account/share_list.h"
#include "core/account/share_mirror.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr int kRounds = 5;
constexpr mode_t kFolderMode = 0777;

bool is_line(const char *text) noexcept {
    return !text || !strpbrk(text, "\n\r");
}

// Whether a path names one folder below the root, whatever the folders on the way are.
bool names_folder(std::string_view path) {
    if (!path.starts_with('/') || plain_path(path).empty() || path.size() >= PATH_MAX) return false;
    for (size_t at = 0; at < path.size();) {
        const size_t slash = std::min(path.find('/', at), path.size());
        if (path.substr(at, slash - at) == "..") return false;
        at = slash + 1;
    }
    return true;
}

bool has_lines(const MORVSHARE &share) noexcept {
    return is_line(share.szName) && is_line(share.szComment) && is_line(share.szPath) &&
           is_line(share.szInvalidUsers) && is_line(share.szWriteList) && is_line(share.szReadList);
}

int check_share(const MORVSHARE &share) {
    if (!has_lines(share)) return ERR_BAD_PARAMETERS;
    const bool is_type = share.accessType == MORV_SHARE_READ_ONLY ||
                         share.accessType == MORV_SHARE_READ_WRITE ||
                         share.accessType == MORV_SHARE_NO_ACCESS;
    if (!is_type || (share.browseable & ~1) || (share.ftpFlags & ~7)) return ERR_BAD_PARAMETERS;
    if (!BlMLIBIsShareName(share.szName)) return ERR_INVALID_SHARENAME;
    if (*share.szPath != '/') return ERR_INVALID_PATH;
    return names_folder(share.szPath) ? 0 : ERR_BAD_PARAMETERS;
}

// Names that are kept for the system in any letter case, as readers of the configuration take them.
bool is_kept(const std::string &name, const std::string &key) noexcept {
    return ShareNameCheck(name.c_str()) != MORV_SHARE_NAME_FREE || key == "HOMES" ||
           ShareSectionTypeGet(name.c_str()) != MORV_SECTION_SHARE;
}

bool is_folder(const char *path) noexcept {
    struct stat st;
    return lstat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool is_missing(const char *path) noexcept {
    struct stat st;
    return lstat(path, &st) != 0 && errno == ENOENT;
}

// What a change does to the folder of a share; undone unless the change takes effect.
class FolderChange {
  public:
    FolderChange() noexcept = default;
    FolderChange(const FolderChange &) = delete;
    FolderChange &operator=(const FolderChange &) = delete;
    ~FolderChange() {
        if (!made_.empty()) rmdir(made_.c_str());
        if (!moved_to_.empty()) ShareMove(moved_to_.c_str(), moved_from_.c_str());
    }

    int make(const std::string &folder) {
        std::string path = SysPath(folder.c_str()).c_str();
        if (mkdir(path.c_str(), 0700) != 0) {
            if (errno == ENOSPC || errno == EDQUOT) return ERR_NOT_ENOUGH_SPACE;
            return errno == EEXIST && is_folder(path.c_str()) ? 0 : ERR_CREATE_FAILED;
        }
        made_ = std::move(path);
        const UniqueFd fd(open(made_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        return fd && fchmod(fd.get(), kFolderMode) == 0 ? 0 : ERR_CREATE_FAILED;
    }

    int move(const std::string &old_folder, const std::string &folder) {
        std::string from = SysPath(old_folder.c_str()).c_str();
        std::string to = SysPath(folder.c_str()).c_str();
        // Without a folder to move there may be one that was moved by a process that was killed.
        if (is_missing(from.c_str())) return make(folder);
        if (ShareMove(from.c_str(), to.c_str()) != 0) return MLIBErrGet();
        moved_from_ = std::move(from);
        moved_to_ = std::move(to);
        return 0;
    }

    void keep() noexcept {
        made_.clear();
        moved_to_.clear();
    }

  private:
    std::string made_, moved_from_, moved_to_;
};

// The sections of a configuration that change; all else stays.
class TextChange {
  public:
    explicit TextChange(std::string_view text) noexcept : text_(text) {}

    void replace(const ConfSection &section, std::string_view by) {
        const auto at = static_cast<size_t>(section.text.data() - text_.data());
        out_.append(text_, done_, at - done_).append(by);
        done_ = at + section.text.size();
    }

    std::string finish() {
        out_.append(text_, done_);
        return std::move(out_);
    }

  private:
    std::string_view text_;
    std::string out_;
    size_t done_ = 0;
};

// Opened and locked: the mirror, and the configuration that it was built from.
class ConfChange {
  protected:
    int open() noexcept {
        if (lock_.write(MORV_LOCK_SMB | MORV_LOCK_EXPORTS) != 0) {
            MORV_LOG(LOG_ERR, "Cannot lock smb.conf.");
            return ERR_LOCK_FAILED;
        }
        for (int round = 0; round < kRounds; ++round) {
            if (const int code = open_mirror(share_mirror_kind, Extent::kWhole, &mirror_)) return code;
            files_.reset(new (std::nothrow) FileChanges);
            if (!files_) return ERR_OUT_OF_MEMORY;
            if (const int code = files_->load(AccountFile::kSmbConf)) return code;
            // A tool without our lock may have changed the file since the mirror was looked at.
            if (mirror_->source[0] == state_of(files_->read_state(AccountFile::kSmbConf)))
                return reader_.allocate();
        }
        return ERR_OPEN_FAILED;
    }

    std::string_view text() const noexcept { return files_->text(AccountFile::kSmbConf); }

    // Puts the new configuration in place. in_effect: whether it counts, also when the answer is an error.
    int commit(bool *in_effect) noexcept {
        const int code = files_->commit(Record::kShare);
        *in_effect = code == 0;
        if (code == 0) return 0;
        struct stat st;
        *in_effect =
            is_interrupted(MORV_LOCK_SMB) || (stat(SysPath(kSmbConfPath).c_str(), &st) == 0 &&
                                              st.st_ino == files_->new_state(AccountFile::kSmbConf).st_ino &&
                                              files_->changes(AccountFile::kSmbConf));
        return code;
    }

    // The file is what counts by now: a mirror that cannot be brought up to date is built anew by its next
    // reader.
    template <class F>
    void update_mirror(F &&change) noexcept {
        mirror_->source[0] = state_of(files_->new_state(AccountFile::kSmbConf));
        int code = no_throw([&]() -> int { return change(*mirror_); });
        if (code == 0) code = publish_mirror(std::move(mirror_));
        if (code) forget_mirror(share_mirror_kind);
    }

    AccountLock lock_;
    MirrorPtr mirror_;
    std::unique_ptr<FileChanges> files_;
    SectionReader reader_;
};

// ---- Shares ---------------------------------------------------------------------------------------------

class ShareChange : ConfChange {
  public:
    int set(const char *old_name, const MORVSHARE &share) {
        if (const int code = check_share(share)) return code;
        if (!upper_name(share.szName, key_)) return ERR_INVALID_SHARENAME;
        if (old_name && !upper_name(old_name, old_key_)) return ERR_NO_SUCH_SHARE;
        if (const int code = open()) return code;
        AccountMirrors mirrors;
        if (const int code = mirrors.open()) return code;
        if (const int code = find_old(share)) return code;
        if (const int code = find_there(mirrors.accounts())) return code;
        if (const int code = check_path(share.szPath)) return code;
        if (const int code = wanted_.take(rebase(share), today(), mirrors.accounts())) return code;
        if (const int code = edit_sections(mirrors.accounts())) return code;
        FolderChange folder;
        if (const int code = change_folder(folder)) return code;
        bool in_effect;
        const int code = commit(&in_effect);
        if (in_effect) folder.keep();
        if (code) return code;
        update_mirror([&](Mirror &mirror) { return put_share(mirror, old_key_, wanted_.record()); });
        return lock_.release();
    }

    // top: null to remove the folder, too; else where the share has to lie
    int remove(const char *name, const char *top) {
        if (!upper_name(name, old_key_)) return ERR_NO_SUCH_SHARE;
        if (const int code = open()) return code;
        if (const int code = read_old()) return code;
        if (top && !lies_below(old_->szPath, top)) return ERR_NO_SUCH_SHARE;
        TextChange change(text());
        for (ConfSections sections(text()); sections.next();) {
            if (is_named(sections.section, old_key_))
                change.replace(sections.section, rest_of_section(sections.section.text));
        }
        files_->set(AccountFile::kSmbConf, change.finish());
        // Where the folder stays, others in it lose nothing with the line of this one.
        const auto is_needed = top ? is_path_of_others : is_needed_by_others;
        const bool is_ours = names_folder(old_->szPath) && !is_needed(old_->szPath, text(), old_key_);
        if (is_ours) {
            if (const int code = edit_exports_to({})) return code;
        }
        const bool goes = !top && is_ours && may_be_taken_away(old_->szPath);
        bool in_effect;
        if (const int code = commit(&in_effect)) return code;
        update_mirror(
            [&](Mirror &mirror) { return erase_record(mirror.store[kShares], store_key(old_key_)); });
        const int code = goes ? discard_folder() : 0;
        const int released = lock_.release();
        return code ? code : released;
    }

  private:
    static bool is_named(const ConfSection &section, const std::string &key) {
        std::string upper;
        return section.type == MORV_SECTION_SHARE && upper_name(section.name, upper) && upper == key;
    }

    int read_old() {
        MORVSHARE *old = nullptr;
        const int code = read_share(*mirror_, old_key_, &old);
        old_.reset(old);
        if (code == ERR_STORE_INVALID) forget_mirror(share_mirror_kind);
        return code;
    }

    int find_old(const MORVSHARE &share) {
        if (!old_key_.empty()) {
            if (const int code = read_old()) return code;
        }
        if (!old_ || strcmp(old_->szName, share.szName) != 0) {
            if (is_kept(share.szName, key_)) return ERR_INVALID_SHARENAME;
        }
        if (key_ == old_key_) return 0;
        std::string_view there;
        const int code = find_record(mirror_->store[kShares], store_key(key_), &there);
        if (code != ERR_KEY_NOT_FOUND) return code ? code : int{ERR_SHARE_EXISTS};
        return old_ ? 0 : check_limit();
    }

    int check_limit() {
        int there = 0;
        const int code = walk_shares(*mirror_, [&](const PackedShare &) {
            ++there;
            return 0;
        });
        if (code) return code;
        return exceeds_limit("maxshares", there, 1) ? int{ERR_TOO_MANY_SHARES} : 0;
    }

    // The share as its section says it today: there may be accounts by now that the mirror has left out.
    int find_there(const Accounts &accounts) {
        if (!old_) return 0;
        for (ConfSections sections(text()); sections.next() && !there_;) {
            if (!is_named(sections.section, old_key_)) continue;
            int code = reader_.read(sections.section);
            if (code == 0) code = reader_.make_share(sections.section, accounts, &there_);
            if (code) return code;
        }
        return 0;
    }

    const MORVSHARE *today() const noexcept { return there_ ? there_.get() : old_.get(); }

    int check_path(const char *path) const {
        if (old_ && plain_path(path) == plain_path(old_->szPath)) return 0;
        return may_be_shared(path) ? 0 : ERR_BAD_PARAMETERS;
    }

    // What the caller has not changed is to be what it is today.
    MORVSHARE rebase(const MORVSHARE &share) {
        MORVSHARE rebased = share;
        path_ = plain_path(share.szPath);
        rebased.szPath = path_.data();
        if (!old_) return rebased;
        for (char *MORVSHARE::*text : {&MORVSHARE::szPath, &MORVSHARE::szInvalidUsers,
                                       &MORVSHARE::szWriteList, &MORVSHARE::szReadList}) {
            if (strcmp(share.*text ? share.*text : "", (*old_).*text) == 0) rebased.*text = (*today()).*text;
        }
        if (share.accessType == old_->accessType) rebased.accessType = today()->accessType;
        return rebased;
    }

    int edit_sections(const Accounts &accounts) {
        const std::string &key = old_ ? old_key_ : key_;
        TextChange change(text());
        bool is_done = false;
        for (ConfSections sections(text()); sections.next();) {
            const ConfSection &section = sections.section;
            // One by the new name that the mirror could not hold would become a part of the share.
            if (key != key_ && is_named(section, key_)) return ERR_SHARE_EXISTS;
            if (!is_named(section, key)) continue;
            was_there_ = true;
            SharePtr there;
            int code = reader_.read(section);
            if (code == 0 && !is_done) code = reader_.make_share(section, accounts, &there);
            if (code) return code;
            std::string edited(section.text);
            if (!is_done && (there || !old_)) {
                edited.clear();
                edits_of(there.get(), wanted_, reader_.keys()).apply(section.text, edited);
                is_done = true;
            }
            if (section.name != wanted_.name) {
                std::string renamed;
                rename_section(edited, wanted_.name, renamed);
                edited.swap(renamed);
            }
            change.replace(section, edited);
        }
        std::string text = change.finish();
        if (!is_done) edits_of(nullptr, wanted_, nullptr).append(wanted_.name, text);
        if (const int code = check_text(text, accounts)) return code;
        files_->set(AccountFile::kSmbConf, std::move(text));
        return 0;
    }

    // Nothing is written that would be read as something else.
    int check_text(std::string_view text, const Accounts &accounts) {
        for (ConfSections sections(text); sections.next();) {
            if (!is_named(sections.section, key_)) continue;
            SharePtr read;
            int code = reader_.read(sections.section);
            if (code == 0) code = reader_.make_share(sections.section, accounts, &read);
            if (code) return code;
            if (!read && old_) continue;
            if (read && wanted_.equals(*read)) return 0;
            break;
        }
        return old_ || !was_there_ ? ERR_BAD_PARAMETERS : ERR_SHARE_EXISTS;
    }

    int edit_exports_to(std::string_view folder) {
        if (const int code = files_->load(AccountFile::kExports)) return code;
        std::string exports;
        edit_exports(files_->text(AccountFile::kExports), plain_path(old_->szPath), folder, exports);
        files_->set(AccountFile::kExports, std::move(exports));
        return 0;
    }

    int change_folder(FolderChange &folder) {
        const std::string wanted = plain_path(wanted_.path);
        if (!old_) return folder.make(wanted);
        const std::string old = plain_path(old_->szPath);
        if (old == wanted) return 0;
        if (!names_folder(old_->szPath)) return ERR_BAD_PARAMETERS;
        const bool is_same = is_same_place(old, wanted);
        if (!is_same && (is_needed_by_others(old, text(), old_key_) || !may_be_taken_away(old)))
            return ERR_BAD_PARAMETERS;
        if (const int code = edit_exports_to(wanted)) return code;
        return is_same ? folder.make(wanted) : folder.move(old, wanted);
    }

    int discard_folder() const {
        const SysPath folder(plain_path(old_->szPath).c_str());
        if (is_missing(folder.c_str()) || MORVShareMove2Tmp(folder.c_str()) == 0) return 0;
        return MLIBErrGet();
    }

    std::string key_, old_key_;  // empty: none
    SharePtr old_;               // as the mirror holds it, and the caller knows it
    SharePtr there_;             // the same with today's accounts
    SettledShare wanted_;
    std::string path_;
    bool was_there_ = false;  // a section by the name
};

// ---- Reserved sections ----------------------------------------------------------------------------------

bool is_reserved(const ConfSection &section, const std::string &key) {
    return section.type == MORV_SECTION_RESERVED && reserved_key(section.name) == key;
}

// Other readers take a line for the beginning of a section also behind blanks.
bool may_be_line(std::string_view line) noexcept {
    return !trim_blanks(line).starts_with('[') && line.find('\n') == line.npos;
}

std::string line_of(const MLIBSZHASHBUCKET &pair) {
    return std::string(trim_blanks(pair.pszKey)) + "=" + pair.pszValue;
}

bool is_pair(const MLIBSZHASHBUCKET &pair) {
    if (!is_line(pair.pszKey) || !is_line(pair.pszValue)) return false;
    const std::string line = line_of(pair);
    std::string_view key;
    std::string_view value;
    return may_be_line(line) && read_conf_line(line, &key, &value) == ConfLine::kPair &&
           key == trim_blanks(pair.pszKey) && value == pair.pszValue && !value.ends_with('\\');
}

// The new text of a configuration in which a reserved section has other lines, or none. Of several sections
// with one name the last one counts, and the others go.
std::string edit_reserved(std::string_view text, const std::string &key,
                          const std::vector<std::string_view> *lines) {
    size_t count = 0;
    for (ConfSections sections(text); sections.next();)
        count += is_reserved(sections.section, key);
    TextChange change(text);
    for (ConfSections sections(text); sections.next();) {
        if (!is_reserved(sections.section, key)) continue;
        std::string edited;
        if (lines && --count == 0) {
            replace_lines(sections.section.text, *lines, edited);
        } else {
            edited = rest_of_section(sections.section.text);
        }
        change.replace(sections.section, edited);
    }
    return change.finish();
}

class ReservedChange : ConfChange {
  public:
    int run(const char *name, const MLIBSZHASH *pairs) {
        std::vector<std::string> lines;
        for (int i = 0; pairs && i < pairs->nBucket; ++i) {
            const MLIBSZHASHBUCKET &pair = pairs->bucket[i];
            if (!pair.pszKey) continue;
            if (!is_pair(pair)) return ERR_BAD_PARAMETERS;
            lines.push_back(line_of(pair));
        }
        const std::vector<std::string_view> views(lines.begin(), lines.end());

        if (const int code = open()) return code;
        const std::string key = reserved_key(name);
        std::string_view image;
        const int found = find_record(mirror_->store[kShares], store_key(key), &image);
        if (found && (found != ERR_KEY_NOT_FOUND || !pairs)) return found;
        std::string text = edit_reserved(ConfChange::text(), key, pairs ? &views : nullptr);
        if (found && pairs) append_lines(name, views, text);
        files_->set(AccountFile::kSmbConf, std::move(text));
        bool in_effect;
        if (const int code = commit(&in_effect)) return code;
        update_mirror([&](Mirror &mirror) {
            if (!pairs) return erase_record(mirror.store[kShares], store_key(key));
            return store(mirror, name, lines);
        });
        return lock_.release();
    }

  private:
    // The pairs alone: comments before the next section are not the section's own.
    int store(Mirror &mirror, std::string name, const std::vector<std::string> &lines) {
        for (ConfSections sections(text()); sections.next();) {
            if (is_reserved(sections.section, reserved_key(name))) name = sections.section.name;
        }
        MLIBSZLIST *list = PslMLIBSzListAlloc(1024);
        if (!list) return ERR_OUT_OF_MEMORY;
        bool is_full = MLIBSzListPush(&list, name.c_str()) >= 0;
        for (const std::string &line : lines)
            is_full = is_full && MLIBSzListPush(&list, line.c_str()) >= 0;
        const ListPtr owned(list);
        if (!is_full) return ERR_OUT_OF_MEMORY;
        return MORVListDBSet(mirror.store[kShares], name.c_str(), list) == 0 ? 0 : MLIBErrGet();
    }
};

// ---- The whole store ------------------------------------------------------------------------------------

// A share of the store, as it is to stand in the configuration.
struct StoredShare {
    SharePtr stored;
    SettledShare settled;
    bool is_placed = false;
};

class Dump {
  public:
    explicit Dump(Mirror &mirror) noexcept : mirror_(mirror) {}

    int run() {
        int code = reader_.allocate();
        if (code == 0) code = mirrors_.open();
        if (code == 0) code = files_.load(AccountFile::kSmbConf);
        if (code) return code;
        // What another tool has written since would be undone.
        if (mirror_.source[0] != state_of(files_.read_state(AccountFile::kSmbConf))) return ERR_STORE_INVALID;
        code = read_store();
        if (code == 0) code = edit();
        if (code == 0) code = files_.commit(Record::kShare);
        if (code) return code;
        mirror_.source[0] = state_of(files_.new_state(AccountFile::kSmbConf));
        code = adjust_store();
        return code ? code : publish_stores(mirror_);
    }

  private:
    int read_store() {
        std::vector<std::string> keys;
        Walk walk(mirror_.store[kShares]);
        while (walk.next()) {
            MORVSHARE *share = nullptr;
            if (MORVShareDBUnpack(walk.value.data(), static_cast<int>(walk.value.size()), &share) != 0)
                return MLIBErrGet() == ERR_OUT_OF_MEMORY ? ERR_OUT_OF_MEMORY : ERR_STORE_INVALID;
            shares_[std::string(stored_text(walk.key))].stored.reset(share);
        }
        return walk.code;
    }

    // The share that a section is to become: by its name, else the one of the same folder, which was
    // renamed.
    StoredShare *find(const std::string &key, const MORVSHARE &there) {
        const auto by_name = shares_.find(key);
        if (by_name != shares_.end()) return by_name->second.is_placed ? nullptr : &by_name->second;
        for (auto &[other, share] : shares_) {
            if (!share.is_placed && !keys_.contains(other) && strcmp(share.stored->szPath, there.szPath) == 0)
                return &share;
        }
        return nullptr;
    }

    int edit() {
        const std::string_view text = files_.text(AccountFile::kSmbConf);
        std::string key;
        for (ConfSections sections(text); sections.next();) {
            if (sections.section.type == MORV_SECTION_SHARE && upper_name(sections.section.name, key))
                keys_.insert(key);
        }
        TextChange change(text);
        std::set<std::string> met;
        for (ConfSections sections(text); sections.next();) {
            const ConfSection &section = sections.section;
            if (const int code = reader_.read(section)) return code;
            if (section.type == MORV_SECTION_RESERVED) {
                reserved_.insert(reserved_key(section.name));
                continue;
            }
            SharePtr there;
            if (const int code = reader_.make_share(section, mirrors_.accounts(), &there)) return code;
            // What the mirror does not hold stays as it is.
            if (!there || !upper_name(section.name, key) || !met.insert(key).second) continue;
            if (const int code = edit_share(section, *there, key, change)) return code;
        }
        std::string edited = change.finish();
        for (auto &[name, share] : shares_) {
            if (share.is_placed) continue;
            if (!has_lines(*share.stored)) return ERR_BAD_PARAMETERS;
            if (const int code = share.settled.take(*share.stored, nullptr, mirrors_.accounts())) return code;
            edits_of(nullptr, share.settled, nullptr).append(share.settled.name, edited);
        }
        if (const int code = edit_reserved_sections(edited)) return code;
        files_.set(AccountFile::kSmbConf, std::move(edited));
        return 0;
    }

    int edit_share(const ConfSection &section, const MORVSHARE &there, const std::string &key,
                   TextChange &change) {
        StoredShare *const share = find(key, there);
        if (!share) {
            change.replace(section, rest_of_section(section.text));
            return 0;
        }
        share->is_placed = true;
        if (const int code = share->settled.take(*share->stored, &there, mirrors_.accounts())) return code;
        if (share->settled.equals(there)) return 0;
        if (!has_lines(*share->stored)) return ERR_BAD_PARAMETERS;
        std::string edited;
        edits_of(&there, share->settled, reader_.keys()).apply(section.text, edited);
        std::string renamed;
        if (section.name != share->settled.name) rename_section(edited, share->settled.name, renamed);
        change.replace(section, renamed.empty() ? edited : renamed);
        return 0;
    }

    int edit_reserved_sections(std::string &text) {
        for (const char *name : {"global", "home", "printers"})
            reserved_.insert(reserved_key(name));
        for (const std::string &key : reserved_) {
            std::string_view image;
            const int code = find_record(mirror_.store[kShares], store_key(key), &image);
            if (code == ERR_KEY_NOT_FOUND) {
                text = edit_reserved(text, key, nullptr);
                continue;
            }
            if (code) return code;
            ListPtr list(MORVListDBUnpack(image.data(), static_cast<int>(image.size())));
            if (!list) return MLIBErrGet() == ERR_OUT_OF_MEMORY ? ERR_OUT_OF_MEMORY : ERR_STORE_INVALID;
            if (const int failed = edit_lines(key, *list, text)) return failed;
        }
        return 0;
    }

    int edit_lines(const std::string &key, const MLIBSZLIST &list, std::string &text) {
        bool is_there = false;
        bool is_same = false;
        std::set<std::string, std::less<>> known;
        for (ConfSections sections(text); sections.next();) {
            if (!is_reserved(sections.section, key)) continue;
            if (const int code = reader_.read(sections.section)) return code;
            is_there = true;
            is_same = equals(*reader_.lines(), list);
            known.insert(reader_.lines()->pszItem + 1, reader_.lines()->pszItem + reader_.lines()->nItem);
        }
        if (is_same) return 0;
        std::vector<std::string_view> lines;
        for (int i = 1; i < list.nItem; ++i) {
            const std::string_view line = trim_blanks(list.pszItem[i]);
            if (!may_be_line(line) && !known.contains(line)) return ERR_BAD_PARAMETERS;
            lines.push_back(line);
        }
        if (is_there) {
            text = edit_reserved(text, key, &lines);
        } else if (list.nItem > 0) {
            append_lines(list.pszItem[0], lines, text);
        }
        return 0;
    }

    static bool equals(const MLIBSZLIST &a, const MLIBSZLIST &b) noexcept {
        if (a.nItem != b.nItem) return false;
        for (int i = 1; i < a.nItem; ++i) {
            if (strcmp(a.pszItem[i], b.pszItem[i]) != 0) return false;
        }
        return true;
    }

    // The store holds what a building from the new text would hold.
    int adjust_store() {
        for (const auto &[key, share] : shares_) {
            if (share.settled.equals(*share.stored)) continue;
            if (const int code = put_share(mirror_, key, share.settled.record())) return code;
        }
        return 0;
    }

    Mirror &mirror_;
    FileChanges files_;
    AccountMirrors mirrors_;
    SectionReader reader_;
    std::map<std::string, StoredShare> shares_;  // by upper-cased name
    std::set<std::string> keys_;                 // of the sections
    std::set<std::string> reserved_;             // the keys of reserved sections
};

}  // namespace

int set_share(const char *old_name, const MORVSHARE &share) noexcept {
    return no_throw([&] { return ShareChange().set(old_name, share); });
}

int delete_share(const char *name) noexcept {
    return no_throw([&] { return ShareChange().remove(name, nullptr); });
}

int forget_share(const char *name, const char *top) noexcept {
    return no_throw([&] { return ShareChange().remove(name, top); });
}

int change_reserved(const char *section, const MLIBSZHASH *pairs) noexcept {
    return no_throw([&] { return ReservedChange().run(section, pairs); });
}

int dump_shares(Mirror &mirror) {
    return Dump(mirror).run();
}

}  // namespace morv
