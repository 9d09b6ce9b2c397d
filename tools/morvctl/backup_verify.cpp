// morvctl backup verify: what of a file this system could not restore.
#include <errno.h>
#include <morvsdk/service.h>
#include <morvsdk/volume.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "morvctl/accounts.h"
#include "morvctl/backup.h"
#include "morvctl/network.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

constexpr char kModelFile[] = "/etc.defaults/morvinfo.conf";

struct Finding {
    std::string subject;  // the block
    std::string text;
};

class Verifier {
  public:
    Verifier(const Session &session, const Backup &backup) : session_(session), backup_(backup) {}

    std::vector<Finding> findings;  // what is not restored, or not whole
    std::vector<Finding> notes;     // what is passed over on purpose

    void run() {
        check_blocks();
        attempt("user", [&] { check_users(); });
        attempt("group", [&] { check_groups(); });
        attempt("share", [&] { check_shares(); });
        attempt("userquota", [&] { check_quotas(); });
        check_support();
    }

  private:
    // What cannot be found out is found, too.
    template <class Check>
    void attempt(const char *subject, Check check) {
        try {
            check();
        } catch (const Failure &failure) {
            findings.push_back({subject, failure.what()});
        }
    }

    template <class F>
    void for_each_record(int32_t id, F work) const {
        for (const BackupBlock &block : backup_.blocks) {
            if (block.head.id != id) continue;
            for (const BackupRecord &record : block.records)
                work(record);
        }
    }

    void check_blocks() {
        std::set<int32_t> seen;
        for (const BackupBlock &block : backup_.blocks) {
            const std::string name = block_name(block.head);
            const std::string where = " (the block of " + std::to_string(block.head.size) +
                                      " bytes at byte " + std::to_string(block.head.offset) + ")";
            if (!block.head.szName) {
                findings.push_back(
                    {name, "nothing is known of this kind: neither it nor what follows is restored" + where});
            } else if (!block.problem.empty()) {
                findings.push_back({name, "damaged: " + block.problem + where});
            } else if (!seen.insert(block.head.id).second) {
                findings.push_back({name, "it is in the file more than once, and restored as often" + where});
            }
        }
        if (!backup_.problem.empty()) findings.push_back({"file", backup_.problem});
        if (backup_.blocks.empty()) findings.push_back({"file", "it holds no settings at all"});
    }

    // Refuses more than the model takes. `there` are the names that this system has, by their keys.
    void check_limit(const char *subject, const char *key, const std::set<std::string> &there, size_t added) {
        const std::string most = read_key(session_, kModelFile, key);
        if (most.empty() || added == 0) return;
        const long limit = strtol(most.c_str(), nullptr, 10);
        if (long(there.size() + added) <= limit) return;
        findings.push_back({subject, std::to_string(added) + " would be added to the " +
                                         std::to_string(there.size()) + " here, and this model takes " +
                                         std::to_string(limit) + " (" + key + ")"});
    }

    static std::set<std::string> keys(const std::vector<std::string> &names) {
        std::set<std::string> found;
        for (const std::string &name : names)
            found.insert(name_key(name));
        return found;
    }

    // The names of a kind's records that are not here yet, by their keys. One that is there twice is found.
    std::set<std::string> added(int32_t id, const char *subject, const std::set<std::string> &there) {
        std::set<std::string> all, fresh;
        for_each_record(id, [&](const BackupRecord &record) {
            const std::string &name = record.text("name");
            const std::string key = name_key(name);
            if (!all.insert(key).second)
                findings.push_back({subject, escape(name) + " is in the file twice"});
            if (!there.contains(key)) fresh.insert(key);
        });
        return fresh;
    }

    void check_users() {
        if (!(backup_.kinds() & MORV_SYSBKP_USER)) return;
        const auto there = keys(user_names(session_, MORV_USER_LOCAL | MORV_USER_DOMAIN));
        check_limit("user", "maxaccounts", there, added(MORV_SYSBKP_USER, "user", there).size());
    }

    // Whether an account of that name is in the file or here. One of a domain is a matter of that.
    bool is_known(const std::string &name, int32_t id, std::set<std::string> &of_file, bool &is_filled) {
        if (name.find('\\') != name.npos) return true;
        if (!std::exchange(is_filled, true)) {
            for_each_record(
                id, [&](const BackupRecord &record) { of_file.insert(name_key(record.text("name"))); });
        }
        if (of_file.contains(name_key(name))) return true;
        return id == MORV_SYSBKP_USER ? find_user(session_, name) != nullptr
                                      : find_group(session_, name) != nullptr;
    }
    bool has_user(const std::string &name) { return is_known(name, MORV_SYSBKP_USER, users_, has_users_); }
    bool has_group(const std::string &name) {
        return is_known(name, MORV_SYSBKP_GROUP, groups_, has_groups_);
    }

    void check_groups() {
        if (!(backup_.kinds() & MORV_SYSBKP_GROUP)) return;
        const auto there = keys(group_names(session_, MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN));
        check_limit("group", "maxgroups", there, added(MORV_SYSBKP_GROUP, "group", there).size());
        for_each_record(MORV_SYSBKP_GROUP, [&](const BackupRecord &group) {
            for (const BackupRecord &entry : group.entries) {
                const std::string &member = entry.text("member");
                if (has_user(member)) continue;
                findings.push_back({"group", escape(group.text("name")) + " has the member " +
                                                 escape(member) + ", who is neither in the file nor here"});
            }
        });
    }

    bool has_folder(const std::string &path) const {
        struct stat st;
        return stat(system_path(session_, path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    }

    // The volume that a path lies on if that is not here; else "". An image may have no list of what is mounted:
    // then a folder is enough.
    std::string missing_volume(const std::string &path) {
        const std::string volume = path.substr(0, path.find('/', 1));
        VOLUME_ID id;
        if (VolumePathParse(volume.c_str(), &id) != 1 ||
            !(id.location & (VOLUME_INTERNAL | VOLUME_EXPANSION)))
            return "";
        if (!mounted_) mounted_ = mounted_volumes();
        const bool is_mounted = mounted_->empty() || mounted_->contains(volume);
        return is_mounted && has_folder(volume) ? "" : volume;
    }
    static std::set<std::string> mounted_volumes() {
        std::set<std::string> found;
        VOLUME_MOUNT *list = nullptr;
        if (MORVMountVolInfoEnum(&list) < 0) return found;
        for (const VOLUME_MOUNT *mount = list; mount; mount = mount->pNext)
            found.insert(mount->szMountPoint);
        MORVMountVolInfoFree(list);
        return found;
    }

    void check_shares() {
        if (!(backup_.kinds() & MORV_SYSBKP_SHARE)) return;
        List names;
        clear_errors();
        if (MORVShareEnum(names.address(), 0) < 0) fail_account(session_, "read the shares");
        const auto there = keys(names.items());
        check_limit("share", "maxshares", there, added(MORV_SYSBKP_SHARE, "share", there).size());
        for_each_record(MORV_SYSBKP_SHARE, [&](const BackupRecord &share) { check_share(share, there); });
    }

    void check_share(const BackupRecord &share, const std::set<std::string> &there) {
        const std::string &path = share.text("path");
        const std::string name = escape(share.text("name"));
        if (there.contains(name_key(share.text("name")))) {
            const Share here = read_share(session_, share.text("name"));
            if (here->szPath != path) {
                findings.push_back({"share", name + " is " + escape(path) + " in the file, and here it is " +
                                                 escape(here->szPath)});
            }
        } else if (const std::string volume = missing_volume(path); !volume.empty()) {
            findings.push_back(
                {"share", name + " is " + escape(path) + ", and the volume " + volume + " is not here"});
        }
        for (const char *list : {"readwrite", "readonly", "denied"}) {
            for (const std::string &entry : split_list(share.text(list))) {
                const bool is_group = entry[0] == '@';
                if (is_group ? has_group(entry.substr(1)) : has_user(entry)) continue;
                findings.push_back({"share", name + " names the " + (is_group ? "group " : "user ") +
                                                 escape(is_group ? entry.substr(1) : entry) + " (" + list +
                                                 "), who is neither in the file nor here"});
            }
        }
    }

    void check_quotas() {
        std::set<std::string> missing;
        for_each_record(MORV_SYSBKP_USERQUOTA, [&](const BackupRecord &user) {
            const std::string &name = user.text("name");
            if (!has_user(name)) {
                findings.push_back({"userquota", "there are limits for " + escape(name) +
                                                     ", who is neither in the file nor here"});
            }
            for (const BackupRecord &entry : user.entries) {
                if (!missing_volume(entry.text("path")).empty()) missing.insert(entry.text("path"));
            }
        });
        for (const std::string &path : missing)
            notes.push_back(
                {"userquota", "there is no volume " + escape(path) + " here: its limits are passed over"});
    }

    void check_support() {
        std::vector<std::string> blocks, missing;
        const auto add = [&](const char *block, const char *key) {
            blocks.push_back(block);
            if (std::find(missing.begin(), missing.end(), key) == missing.end()) missing.push_back(key);
        };
        for (const BackupBlock &block : backup_.blocks) {
            if (!block.head.szName || !block.problem.empty()) continue;
            if (block.head.id == MORV_SYSBKP_MTU && read_key(session_, kModelFile, "supportMTU") != "yes")
                add(block.head.szName, "supportMTU");
            for (const BackupItem &item : block.settings.items) {
                const int setting = MORVSettingFind(item.name);
                const MORVSETTING *info = setting < 0 ? nullptr : MORVSettingInfo(setting);
                if (!info || !info->szSupport || BlMORVSettingIsSupported(setting) == 1) continue;
                add(block.head.szName, info->szSupport);
                break;
            }
        }
        if (blocks.empty()) return;
        notes.push_back(
            {joined(blocks), "passed over: this model lacks " + joined(missing) + " in " + kModelFile});
    }

    const Session &session_;
    const Backup &backup_;
    std::optional<std::set<std::string>> mounted_;
    std::set<std::string> users_, groups_;  // those of the file
    bool has_users_ = false;
    bool has_groups_ = false;
};

Json findings_json(const std::vector<Finding> &findings) {
    Json documents = Json::array();
    for (const Finding &finding : findings)
        documents.push_back({{"block", finding.subject}, {"text", finding.text}});
    return documents;
}

}  // namespace

int verify_backup(const Session &session, const BackupArgs &args) {
    const Backup backup = read_backup(args.file, true);
    Verifier verifier(session, backup);
    verifier.run();
    const bool is_sound = backup.problems().empty();
    if (session.json) {
        print_json({{"file", args.file},
                    {"sound", is_sound},
                    {"restorable", verifier.findings.empty()},
                    {"findings", findings_json(verifier.findings)},
                    {"notes", findings_json(verifier.notes)}});
    } else {
        for (const Finding &finding : verifier.findings)
            print_line(printable(finding.subject + ": " + finding.text));
        for (const Finding &note : verifier.notes)
            print_line(printable("note: " + note.subject + ": " + note.text));
        if (verifier.findings.empty()) {
            print_line(printable(args.file + " is sound, and this system can restore all of it" +
                                 (verifier.notes.empty() ? "" : " but for what is noted")));
        }
    }
    return int(verifier.findings.empty() ? Exit::kDone : Exit::kNotHealthy);
}

}  // namespace morvctl
