// morvctl backup export: the file appears under its name when it is whole, so that a failure costs no older one.
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "morvctl/backup.h"
#include "morvctl/fd.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

// Where the file is to be, links followed as any program would.
std::string place_of(const std::string &file, bool force) {
    Session here;
    std::string place = find_target(here, file).path;
    struct stat st;
    if (stat(place.c_str(), &st) != 0) {
        if (errno != ENOENT) fail_system("write " + file);
        return place;
    }
    if (S_ISDIR(st.st_mode)) refuse(file + " is a folder: name the file that is to be made in it");
    if (!S_ISREG(st.st_mode)) refuse(file + " is no regular file");
    if (!force) refuse(file + " is there already; --force replaces it");
    return place;
}

// The file on its way. Where the file system can do that it gets a name only when it is whole; until then nobody who
// may write to its folder can put something else in its place.
class Draft {
  public:
    Draft(const std::string &place, const std::string &file)
        : file_(file),
          place_(place),
          fd_(open(folder_of(place).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)) {
        if (!fd_ && (errno == EOPNOTSUPP || errno == EISDIR)) {
            name_ = place + ".XXXXXX";
            fd_ = Fd(mkostemp(name_.data(), O_CLOEXEC));
        }
        if (fd_) return;
        const std::string folder = folder_of(place);
        if (errno == ENOENT)
            throw Failure(Exit::kFailed, "cannot write " + file + ": there is no folder " + folder);
        fail_system("write " + file);
    }
    ~Draft() {
        if (!name_.empty()) unlink(name_.c_str());
    }
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    // A path for the library, which leads to this file whatever becomes of names.
    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_.get()); }

    int64_t size() const {
        struct stat st;
        if (fstat(fd_.get(), &st) != 0) fail_system("read " + file_);
        return st.st_size;
    }

    void put_in_place(bool force) {
        if (name_.empty() && !give_name(place_)) {
            if (!force) refuse_existing();
            // By a second name, as there is no call that does both.
            std::string name;
            for (int n = 0; name.empty() || !give_name(name); ++n)
                name = place_ + "." + std::to_string(getpid()) + "." + std::to_string(n);
            name_ = name;
        }
        if (!name_.empty()) rename_to_place(force);
        const Fd folder(open(folder_of(place_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder || (fsync(folder.get()) != 0 && errno != EINVAL))
            fail_system("sync the folder of " + file_);
    }

  private:
    [[noreturn]] void refuse_existing() const { refuse(file_ + " is there already; --force replaces it"); }

    // False when there is something by that name.
    bool give_name(const std::string &name) const {
        if (linkat(AT_FDCWD, path().c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
        if (errno != EEXIST) fail_system("write " + file_);
        return false;
    }

    void rename_to_place(bool force) {
        struct stat own, named;
        if (fstat(fd_.get(), &own) != 0 || lstat(name_.c_str(), &named) != 0) fail_system("write " + file_);
        if (own.st_dev != named.st_dev || own.st_ino != named.st_ino)
            throw Failure(Exit::kFailed,
                          "cannot write " + file_ + ": somebody changes what is in its folder");
        // A file that has come meanwhile stays, where the file system can do that.
        const int kept =
            force ? -1 : renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, place_.c_str(), RENAME_NOREPLACE);
        if (kept != 0) {
            if (!force && errno == EEXIST) refuse_existing();
            if (!force && errno != EINVAL && errno != ENOSYS) fail_system("write " + file_);
            if (rename(name_.c_str(), place_.c_str()) != 0) fail_system("write " + file_);
        }
        name_.clear();
    }

    const std::string file_;
    const std::string place_;
    Fd fd_;
    std::string name_;  // "" for none
};

// The library's words for a failed system call are the system's.
Exit exit_for_problem(const std::string &problem) {
    const auto tells = [&](int reason) { return problem.find(strerror(reason)) != problem.npos; };
    return tells(ENOSPC) || tells(EDQUOT) ? Exit::kNoSpace : Exit::kFailed;
}

void print_blocks(const Backup &backup, const BackupReport &report) {
    Rows rows = {{"BLOCK", "BYTES", "HOLDS"}};
    for (const BackupBlock &block : backup.blocks) {
        std::string holds;
        const BackupItem *first = block.settings.items.empty() ? nullptr : &block.settings.items[0];
        // The number of records is the first of its items.
        if (!block.records.empty()) {
            holds = std::to_string(block.records.size()) + " " + first->name;
            if (block.records.size() == 1 && holds.ends_with('s')) holds.pop_back();
        } else if (first && block.settings.items.size() == 1) {
            holds = std::string(first->name) + " " +
                    (first->type == MORV_SYSBKP_LONG ? std::to_string(first->value) : quoted(first->text));
        } else {
            holds = std::to_string(block.settings.items.size()) + " settings";
        }
        rows.push_back({block_name(block.head), std::to_string(block.head.size), holds});
    }
    print_table(rows);
    for (const BackupReport::Block &block : report.blocks) {
        for (const std::string &note : block.notes) {
            const char *name = MORVSysbkpName(block.id);
            print_line(printable("note: " + std::string(name ? name : "file") + ": " + note));
        }
    }
}

}  // namespace

int export_backup(const Session &session, const BackupArgs &args) {
    const int32_t mask = parse_kinds(args.only, MORV_SYSBKP_ALL);
    const std::string place = place_of(args.file, args.force);
    BackupReport report;
    Backup backup;
    int64_t size = 0;
    {
        const HeldSignals held;
        Draft draft(place, args.file);
        if (!export_settings(draft.path(), mask, report)) {
            std::string what = report.first_problem();
            for (const BackupReport::Block &block : report.blocks) {
                const char *name = MORVSysbkpName(block.id);
                if (block.result == MORV_SYSBKP_FAILED && name)
                    what.insert(0, std::string(name).append(": "));
            }
            throw Failure(exit_for_problem(what), "cannot write " + args.file + ": " +
                                                      (what.empty() ? "the system log tells why" : what));
        }
        backup = read_backup(draft.path(), true);
        size = draft.size();
        draft.put_in_place(args.force);
    }
    if (session.json) {
        Json blocks = Json::array();
        for (const BackupBlock &block : backup.blocks) {
            Json notes = Json::array();
            for (const BackupReport::Block &told : report.blocks) {
                if (told.id == block.head.id) notes = told.notes;
            }
            blocks.push_back(
                {{"block", block_name(block.head)}, {"bytes", block.head.size}, {"notes", notes}});
        }
        Json notes = Json::array();
        for (const BackupReport::Block &told : report.blocks) {
            if (told.id == 0) notes = told.notes;
        }
        print_json({{"file", args.file}, {"bytes", size}, {"blocks", blocks}, {"notes", notes}});
        return int(Exit::kDone);
    }
    print_blocks(backup, report);
    print_line(printable("wrote " + args.file + ": " + std::to_string(backup.blocks.size()) + " blocks, " +
                         std::to_string(size) + " bytes"));
    const bool has_hashes = mask & (MORV_SYSBKP_USER | MORV_SYSBKP_PPPOE);
    if (has_hashes)
        print_line(
            "it holds hashes of passwords, and passwords: keep it where only the administrator can read it");
    return int(Exit::kDone);
}

}  // namespace morvctl
