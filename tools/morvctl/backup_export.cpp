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
    const std::string place = find_target(here, file).path;
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

// A name beside the place, for a file of our own, which goes unless it was put in place.
class Draft {
  public:
    explicit Draft(const std::string &place, const std::string &file) : path_(place + ".XXXXXX") {
        const Fd fd(mkostemp(path_.data(), O_CLOEXEC));
        if (!fd) {
            const std::string folder = folder_of(place);
            if (errno == ENOENT)
                throw Failure(Exit::kFailed, "cannot write " + file + ": there is no folder " + folder);
            fail_system("write " + file);
        }
    }
    ~Draft() {
        if (!path_.empty()) unlink(path_.c_str());
    }
    Draft(const Draft &) = delete;
    Draft &operator=(const Draft &) = delete;

    const std::string &path() const { return path_; }

    void put_in_place(const std::string &place, const std::string &file, bool force) {
        // A file that has come meanwhile stays, where the file system can do that.
        const int kept =
            force ? -1 : renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, place.c_str(), RENAME_NOREPLACE);
        if (kept != 0) {
            if (!force && errno == EEXIST) refuse(file + " is there already; --force replaces it");
            if (!force && errno != EINVAL && errno != ENOSYS) fail_system("write " + file);
            if (rename(path_.c_str(), place.c_str()) != 0) fail_system("write " + file);
        }
        path_.clear();
        const Fd folder(open(folder_of(place).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder || (fsync(folder.get()) != 0 && errno != EINVAL))
            fail_system("sync the folder of " + file);
    }

  private:
    std::string path_;
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
    struct stat st = {};
    {
        const HeldSignals held;
        Draft draft(place, args.file);
        {
            BackupProgress progress(report, kind_names(mask == MORV_SYSBKP_ALL ? kAllKinds : mask).size());
            if (MORVSysbkpExportReport(draft.path().c_str(), mask, BackupProgress::tell, &progress) != 0) {
                std::string what = report.first_problem();
                for (const BackupReport::Block &block : report.blocks) {
                    const char *name = MORVSysbkpName(block.id);
                    if (block.result == MORV_SYSBKP_FAILED && name) what = std::string(name) + ": " + what;
                }
                throw Failure(exit_for_problem(what), "cannot write " + args.file + ": " +
                                                          (what.empty() ? "the system log tells why" : what));
            }
        }
        backup = read_backup(draft.path(), true);
        if (stat(draft.path().c_str(), &st) != 0) fail_system("read " + args.file);
        draft.put_in_place(place, args.file, args.force);
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
        print_json({{"file", args.file}, {"bytes", int64_t(st.st_size)}, {"blocks", blocks}});
        return int(Exit::kDone);
    }
    print_blocks(backup, report);
    print_line(printable("wrote " + args.file + ": " + std::to_string(backup.blocks.size()) + " blocks, " +
                         std::to_string(st.st_size) + " bytes"));
    const bool has_hashes = mask & (MORV_SYSBKP_USER | MORV_SYSBKP_PPPOE);
    if (has_hashes)
        print_line(
            "it holds hashes of passwords, and passwords: keep it where only the administrator can read it");
    return int(Exit::kDone);
}

}  // namespace morvctl
