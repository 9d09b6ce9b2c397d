#include "core/account/share_change.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "core/account/limits.h"
#include "core/account/named_lines.h"
#include "core/account/share_conf.h"
#include "core/account/share_folders.h"
#include "core/account/share_keys.h"
#include "core/account/share_list.h"
#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "core/text/lines.h"

namespace morv {

namespace {

constexpr mode_t kFolderMode = 0777;

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

// What a change does to the folders of shares; undone unless the change takes effect.
class FolderChange {
  public:
    FolderChange() noexcept = default;
    FolderChange(const FolderChange &) = delete;
    FolderChange &operator=(const FolderChange &) = delete;
    ~FolderChange() {
        // The last one may lie in one that was made before.
        for (auto path = made_.rbegin(); path != made_.rend(); ++path)
            rmdir(path->c_str());
        if (!moved_to_.empty()) ShareMove(moved_to_.c_str(), moved_from_.c_str());
    }

    int make(const std::string &folder) {
        made_.emplace_back(SysPath(folder.c_str()).c_str());
        const char *const path = made_.back().c_str();
        if (mkdir(path, 0700) != 0) {
            const bool is_full = errno == ENOSPC || errno == EDQUOT;
            const bool is_there = errno == EEXIST && is_folder(path);
            made_.pop_back();
            return is_there ? 0 : is_full ? ERR_NOT_ENOUGH_SPACE : ERR_CREATE_FAILED;
        }
        const UniqueFd fd(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (fd && fchmod(fd.get(), kFolderMode) == 0) return 0;
        rmdir(path);
        made_.pop_back();
        return ERR_CREATE_FAILED;
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
    std::vector<std::string> made_;
    std::string moved_from_, moved_to_;
};

// A share on its way into the configuration.
struct Plan {
    std::string key, old_key;  // upper-cased names; old_key empty: the share is new
    SharePtr old;              // as the mirror holds it, and the caller knows it
    SharePtr there;            // the same with today's accounts
    SettledShare wanted;
    std::string path;
    struct Edit {
        size_t section;
        std::string text;
    };
    std::vector<Edit> edits;
    bool is_appended = false;  // to the configuration
    int refusal = 0;

    const MORVSHARE *today() const noexcept { return there ? there.get() : old.get(); }
};

// Whether one share alone cannot be what it is to be.
bool is_own_reason(int code) noexcept {
    switch (code) {
        case ERR_BAD_PARAMETERS:
        case ERR_INVALID_SHARENAME:
        case ERR_INVALID_PATH:
        case ERR_SHARE_EXISTS:
        case ERR_FILE_EXISTS:
        case ERR_TOO_MANY_SHARES:
        case ERR_CREATE_FAILED:
        case ERR_NOT_ENOUGH_SPACE:
            return true;
        default:
            return false;
    }
}

class ShareChange : ConfChange {
  public:
    int set(const char *old_name, const MORVSHARE &share) {
        Plan plan;
        if (const int code = name(share, plan)) return code;
        if (old_name && !upper_name(old_name, plan.old_key)) return ERR_NO_SUCH_SHARE;
        if (const int code = start()) return code;
        if (!plan.old_key.empty()) {
            if (const int code = read_old(plan)) return code;
        }
        if (const int code = settle(share, plan)) return code;
        if (const int code = plan.old ? 0 : find_room()) return code;
        if (const int code = edit_sections(plan)) return code;
        if (const int code = change_folder(plan)) return code;
        return finish({&plan, 1});
    }

    int restore(std::span<const MORVSHARE> shares, std::vector<RestoredShare> &results) {
        results.assign(shares.size(), {});
        if (const int code = start()) return code;
        std::vector<Plan> plans(shares.size());
        std::vector<Plan *> by_path;
        std::unordered_set<std::string> keys;
        // What is but one share's fault is kept with it.
        const auto take = [&](Plan &plan, int code) {
            if (!is_own_reason(code)) return code;
            plan.refusal = results[static_cast<size_t>(&plan - plans.data())].code = code;
            return 0;
        };
        for (size_t i = 0; i < shares.size(); ++i) {
            Plan &plan = plans[i];
            int code = name(shares[i], plan);
            if (code == 0 && !keys.insert(plan.key).second) code = ERR_SHARE_EXISTS;
            if (code == 0) code = find_here(shares[i], plan);
            if (code == 0) code = settle(shares[i], plan);
            if (code == 0) code = edit_sections(plan);
            if (code == 0) by_path.push_back(&plan);
            if (const int failed = take(plan, code)) return failed;
        }
        // A folder may lie in that of another share. Those that have one take the room that the model has.
        std::sort(by_path.begin(), by_path.end(), [](Plan *a, Plan *b) { return a->path < b->path; });
        for (Plan *plan : by_path) {
            int code = plan->old ? 0 : find_room();
            if (code == 0) code = change_folder(*plan);
            if (code == 0 && !plan->old) --*room_;
            if (const int failed = take(*plan, code)) return failed;
        }
        for (size_t i = 0; i < plans.size(); ++i) {
            if (plans[i].refusal) continue;
            if (const int code = find_unknown(shares[i], plans[i].wanted, results[i].unknown)) return code;
        }
        return finish(plans);
    }

    // top: null to remove the folder, too; else where the share has to lie
    int remove(const char *name, const char *top) {
        Plan plan;
        const std::string &key = plan.old_key;
        if (!upper_name(name, plan.old_key)) return ERR_NO_SUCH_SHARE;
        if (const int code = open()) return code;
        if (const int code = read_old(plan)) return code;
        const char *const path = plan.old->szPath;
        if (top && !lies_below(path, top)) return ERR_NO_SUCH_SHARE;
        index_sections();
        TextChange change(text());
        for (const size_t at : sections_of(key))
            change.replace(sections_[at], rest_of_section(sections_[at].text));
        // Where the folder stays, others in it lose nothing with the line of this one.
        const auto is_needed = top ? is_path_of_others : is_needed_by_others;
        files_->set(AccountFile::kSmbConf, change.finish());
        const bool is_ours = names_folder(path) && !is_needed(path, text(), key);
        if (is_ours) {
            if (const int code = edit_exports_to(path, {})) return code;
        }
        const bool goes = !top && is_ours && may_be_taken_away(path);
        bool in_effect;
        if (const int code = commit(&in_effect)) return code;
        update_mirror([&](Mirror &mirror) { return erase_record(mirror.store[kShares], store_key(key)); });
        const int code = goes ? discard_folder(path) : 0;
        const int released = lock_.release();
        return code ? code : released;
    }

  private:
    static int name(const MORVSHARE &share, Plan &plan) {
        if (const int code = check_share(share)) return code;
        return upper_name(share.szName, plan.key) ? 0 : ERR_INVALID_SHARENAME;
    }

    int start() {
        if (const int code = open()) return code;
        if (const int code = mirrors_.open()) return code;
        index_sections();
        return 0;
    }

    // The sections of shares, by upper-cased name.
    void index_sections() {
        std::string key;
        for (ConfSections sections(text()); sections.next();) {
            const ConfSection &section = sections.section;
            if (section.type == MORV_SECTION_SHARE && upper_name(section.name, key))
                index_[key].push_back(sections_.size());
            sections_.push_back(section);
        }
    }

    std::span<const size_t> sections_of(const std::string &key) const {
        const auto found = index_.find(key);
        return found == index_.end() ? std::span<const size_t>() : found->second;
    }

    int read_old(Plan &plan) {
        MORVSHARE *old = nullptr;
        const int code = read_share(*mirror_, plan.old_key, &old);
        plan.old.reset(old);
        if (code == ERR_STORE_INVALID) forget_mirror(share_mirror_kind);
        return code;
    }

    // The share by the same name, if there is one.
    int find_here(const MORVSHARE &share, Plan &plan) {
        plan.old_key = plan.key;
        const int code = read_old(plan);
        if (code == ERR_NO_SUCH_SHARE) {
            plan.old_key.clear();
            return 0;
        }
        if (code) return code;
        return plain_path(share.szPath) == plain_path(plan.old->szPath) ? 0 : ERR_FILE_EXISTS;
    }

    // Works out what the share is to be.
    int settle(const MORVSHARE &share, Plan &plan) {
        if (const int code = check_name(share, plan)) return code;
        if (const int code = find_there(plan)) return code;
        if (const int code = check_path(share.szPath, plan)) return code;
        return plan.wanted.take(rebase(share, plan), plan.today(), mirrors_.accounts());
    }

    int check_name(const MORVSHARE &share, const Plan &plan) {
        if (!plan.old || strcmp(plan.old->szName, share.szName) != 0) {
            if (is_kept(share.szName, plan.key)) return ERR_INVALID_SHARENAME;
        }
        if (plan.key == plan.old_key) return 0;
        std::string_view there;
        const int code = find_record(mirror_->store[kShares], store_key(plan.key), &there);
        return code == ERR_KEY_NOT_FOUND ? 0 : code ? code : int{ERR_SHARE_EXISTS};
    }

    // Whether there is room for one more share.
    int find_room() {
        if (!room_) {
            int there = 0;
            const int code = walk_shares(*mirror_, [&](const PackedShare &) {
                ++there;
                return 0;
            });
            if (code) return code;
            Limit limit = {};
            const bool is_limited = read_limit("maxshares", &limit) == 0;
            room_ = !is_limited ? INT_MAX : limit.is_empty ? 0 : limit.most - there;
        }
        return *room_ < 1 ? int{ERR_TOO_MANY_SHARES} : 0;
    }

    // The share as its section says it today: there may be accounts by now that the mirror has left out.
    int find_there(Plan &plan) {
        if (!plan.old) return 0;
        for (const size_t at : sections_of(plan.old_key)) {
            if (const int code = read(sections_[at], &plan.there)) return code;
            if (plan.there) break;
        }
        return 0;
    }

    int read(const ConfSection &section, SharePtr *share) {
        const int code = reader_.read(section);
        return code ? code : reader_.make_share(section, mirrors_.accounts(), share);
    }

    int check_path(const char *path, const Plan &plan) {
        if (plan.old && plain_path(path) == plain_path(plan.old->szPath)) return 0;
        if (!system_) system_.emplace();
        return system_->admit(path) ? 0 : ERR_BAD_PARAMETERS;
    }

    // What the caller has not changed is to be what it is today.
    static MORVSHARE rebase(const MORVSHARE &share, Plan &plan) {
        MORVSHARE rebased = share;
        plan.path = plain_path(share.szPath);
        rebased.szPath = plan.path.data();
        if (!plan.old) return rebased;
        const MORVSHARE &today = *plan.today();
        for (char *MORVSHARE::*text : {&MORVSHARE::szPath, &MORVSHARE::szInvalidUsers,
                                       &MORVSHARE::szWriteList, &MORVSHARE::szReadList}) {
            if (strcmp(share.*text ? share.*text : "", (*plan.old).*text) == 0) rebased.*text = today.*text;
        }
        if (share.accessType == plan.old->accessType) rebased.accessType = today.accessType;
        return rebased;
    }

    int edit_sections(Plan &plan) {
        const std::string &key = plan.old ? plan.old_key : plan.key;
        // One by the new name that the mirror could not hold would become a part of the share.
        if (key != plan.key && !sections_of(plan.key).empty()) return ERR_SHARE_EXISTS;
        bool is_done = false;
        for (const size_t at : sections_of(key)) {
            const ConfSection &section = sections_[at];
            SharePtr there;
            if (!is_done) {
                if (const int code = read(section, &there)) return code;
            }
            const bool is_it = !is_done && (there || !plan.old);
            std::string edited(section.text);
            if (is_it) {
                edited.clear();
                edits_of(there.get(), plan.wanted, reader_.keys()).apply(section.text, edited);
            }
            if (section.name != plan.wanted.name) {
                std::string renamed;
                rename_section(edited, plan.wanted.name, renamed);
                edited.swap(renamed);
            }
            if (is_it && (!there || edited != section.text || !plan.wanted.equals(*there))) {
                const int code = check_text(edited, plan.wanted);
                if (code) return code == ERR_BAD_PARAMETERS && !plan.old ? int{ERR_SHARE_EXISTS} : code;
            }
            is_done = is_done || is_it;
            if (edited != section.text) plan.edits.push_back({at, std::move(edited)});
        }
        if (is_done) return 0;
        plan.is_appended = true;
        std::string appended(line_at(text(), 0));  // new lines end as this one
        const size_t size = appended.size();
        edits_of(nullptr, plan.wanted, nullptr).append(plan.wanted.name, appended);
        return check_text(std::string_view(appended).substr(size), plan.wanted);
    }

    // Nothing is written that would be read as something else.
    int check_text(std::string_view text, const SettledShare &wanted) {
        SharePtr there;
        ConfSections sections(text);
        if (!sections.next()) return ERR_BAD_PARAMETERS;
        if (const int code = read(sections.section, &there)) return code;
        return there && wanted.equals(*there) && !sections.next() ? 0 : ERR_BAD_PARAMETERS;
    }

    int edit_exports_to(const char *path, std::string_view folder) {
        if (const int code = files_->load(AccountFile::kExports)) return code;
        std::string exports;
        edit_exports(files_->text(AccountFile::kExports), plain_path(path), folder, exports);
        files_->set(AccountFile::kExports, std::move(exports));
        return 0;
    }

    int change_folder(const Plan &plan) {
        const std::string wanted = plain_path(plan.wanted.path);
        if (!plan.old) return folder_.make(wanted);
        const char *const old_path = plan.old->szPath;
        const std::string old = plain_path(old_path);
        if (old == wanted) return 0;
        if (!names_folder(old_path)) return ERR_BAD_PARAMETERS;
        const bool is_same = is_same_place(old, wanted);
        if (!is_same && (is_needed_by_others(old, text(), plan.old_key) || !may_be_taken_away(old)))
            return ERR_BAD_PARAMETERS;
        if (const int code = edit_exports_to(old_path, wanted)) return code;
        return is_same ? folder_.make(wanted) : folder_.move(old, wanted);
    }

    static int discard_folder(const char *path) {
        const SysPath folder(plain_path(path).c_str());
        if (is_missing(folder.c_str()) || MORVShareMove2Tmp(folder.c_str()) == 0) return 0;
        return MLIBErrGet();
    }

    // The items of the lists that have been left out because they are no accounts.
    int find_unknown(const MORVSHARE &share, const SettledShare &wanted, std::vector<std::string> &unknown) {
        const struct {
            const char *given;
            const std::string &settled;
        } lists[] = {{share.szInvalidUsers, wanted.invalid_users},
                     {share.szWriteList, wanted.write_list},
                     {share.szReadList, wanted.read_list}};
        std::unordered_set<std::string> seen;
        std::string key;
        for (const auto &list : lists) {
            if (!list.given || list.settled == list.given) continue;
            for (Items items(list.settled); items.next();) {
                if (upper_name(items.item, key)) seen.insert(key);
            }
            for (Items items(list.given); items.next();) {
                if (!upper_name(items.item, key)) key = items.item;
                if (!seen.insert(key).second) continue;
                std::string found;
                int count = 0;
                if (const int code = mirrors_.accounts().normalise(items.item, found, &count)) return code;
                if (count == 0) unknown.emplace_back(items.item);
            }
        }
        return 0;
    }

    int finish(std::span<const Plan> plans) {
        edit_text(plans);
        bool in_effect;
        const int code = commit(&in_effect);
        if (in_effect) folder_.keep();
        if (code) return code;
        const auto is_news = [](const Plan &plan) {
            return !plan.refusal && !(plan.old && plan.wanted.equals(*plan.old));
        };
        if (files_->changes(AccountFile::kSmbConf) || std::any_of(plans.begin(), plans.end(), is_news)) {
            update_mirror([&](Mirror &mirror) {
                for (const Plan &plan : plans) {
                    if (!is_news(plan)) continue;
                    if (const int failed = put_share(mirror, plan.old_key, plan.wanted.record()))
                        return failed;
                }
                return 0;
            });
        }
        return lock_.release();
    }

    void edit_text(std::span<const Plan> plans) {
        std::vector<const std::string *> edited(sections_.size());
        for (const Plan &plan : plans) {
            for (const Plan::Edit &edit : plan.edits) {
                if (!plan.refusal) edited[edit.section] = &edit.text;
            }
        }
        TextChange change(text());
        for (size_t at = 0; at < edited.size(); ++at) {
            if (edited[at]) change.replace(sections_[at], *edited[at]);
        }
        std::string text = change.finish();
        for (const Plan &plan : plans) {
            if (!plan.refusal && plan.is_appended)
                edits_of(nullptr, plan.wanted, nullptr).append(plan.wanted.name, text);
        }
        files_->set(AccountFile::kSmbConf, std::move(text));
    }

    AccountMirrors mirrors_;
    std::vector<ConfSection> sections_;
    std::unordered_map<std::string, std::vector<size_t>> index_;
    std::optional<int> room_;  // for further shares
    std::optional<SystemFolders> system_;
    FolderChange folder_;
};

}  // namespace

int set_share(const char *old_name, const MORVSHARE &share) noexcept {
    return no_throw([&] { return ShareChange().set(old_name, share); });
}

int restore_shares(std::span<const MORVSHARE> shares, std::vector<RestoredShare> &results) noexcept {
    const auto run = [&] { return no_throw([&] { return ShareChange().restore(shares, results); }); };
    const int code = run();
    if (code != ERR_STORE_INVALID) return code;
    forget_mirror(share_mirror_kind);
    return run();
}

int delete_share(const char *name) noexcept {
    return no_throw([&] { return ShareChange().remove(name, nullptr); });
}

int forget_share(const char *name, const char *top) noexcept {
    return no_throw([&] { return ShareChange().remove(name, top); });
}

}  // namespace morv
