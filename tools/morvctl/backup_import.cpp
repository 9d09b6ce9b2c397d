// morvctl backup import: what is restored, what is not, and why.
#include <ctype.h>
#include <errno.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "morvctl/backup.h"
#include "morvctl/backup_preview.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

constexpr char kMarker[] = "/tmp/importprocess";

// The process that has a file open; 0 when none has, as far as can be seen.
int user_of(const struct stat &file) {
    std::error_code failed;
    for (const auto &process : std::filesystem::directory_iterator("/proc", failed)) {
        const std::string name = process.path().filename().string();
        if (name.find_first_not_of("0123456789") != name.npos) continue;
        std::error_code hidden;
        for (const auto &fd : std::filesystem::directory_iterator(process.path() / "fd", hidden)) {
            struct stat st;
            if (stat(fd.path().c_str(), &st) == 0 && st.st_dev == file.st_dev && st.st_ino == file.st_ino)
                return std::stoi(name);
        }
    }
    return 0;
}

// The library would refuse as well, and remove the mark of the other import, which could then be joined by a
// third.
void check_marker(const Session &session) {
    const std::string marker = system_path(session, "/tmp") + strrchr(kMarker, '/');
    struct stat st;
    if (lstat(marker.c_str(), &st) != 0) return;
    if (const int pid = user_of(st)) {
        throw Failure(Exit::kLocked, "another import is running, by process " + std::to_string(pid) +
                                         ": wait until it is done");
    }
    refuse("an import was killed and has left " + marker +
           "; its settings may be restored in part, and the services stopped: remove that file, import "
           "again, or "
           "run 'morvctl service start'");
}

const char *result_word(int32_t result) {
    return result == MORV_SYSBKP_DONE ? "restored" : result == MORV_SYSBKP_SKIPPED ? "skipped" : "failed";
}

struct Outcome {
    BackupReport report;
    std::vector<std::string> unasked;  // kinds of the file
    std::vector<std::string> failed;
};

// Blocks that were not asked for are told in one line.
Outcome outcome_of(BackupReport report, int32_t mask, bool succeeded) {
    Outcome outcome;
    for (BackupReport::Block &block : report.blocks) {
        const char *const name = MORVSysbkpName(block.id);
        if (block.result == MORV_SYSBKP_SKIPPED && (block.id & mask) == 0) {
            if (name) outcome.unasked.push_back(name);
            continue;
        }
        if (block.id != 0 && block.result != MORV_SYSBKP_DONE && block.result != MORV_SYSBKP_SKIPPED)
            outcome.failed.push_back(name ? name : "?");
        outcome.report.blocks.push_back(std::move(block));
    }
    // What concerns the file as a whole.
    if (!succeeded && outcome.failed.empty()) outcome.failed.push_back("the file");
    return outcome;
}

void print_outcome(const Outcome &outcome, const Session &session) {
    Rows rows = {{"BLOCK", session.dry_run ? "WOULD BE" : "RESULT", "WHY"}};
    for (const BackupReport::Block &block : outcome.report.blocks) {
        const char *const name = MORVSysbkpName(block.id);
        std::vector<std::string> texts = block.problems;
        for (const std::string &note : block.missing)
            texts.push_back("note: " + note);
        for (const std::string &note : block.notes)
            texts.push_back(block.result == MORV_SYSBKP_SKIPPED ? note : "note: " + note);
        if (texts.empty()) texts.push_back("");
        rows.push_back({name ? name : "(the file)",
                        block.id != 0            ? result_word(block.result)
                        : block.problems.empty() ? ""
                                                 : "failed",
                        texts[0]});
        for (size_t i = 1; i < texts.size(); ++i)
            rows.push_back({"", "", texts[i]});
    }
    print_table(rows);
    if (!outcome.unasked.empty()) print_line("not asked for: " + joined(outcome.unasked));
}

Json outcome_json(const Outcome &outcome) {
    Json blocks = Json::array();
    for (const BackupReport::Block &block : outcome.report.blocks) {
        const char *const name = MORVSysbkpName(block.id);
        blocks.push_back(
            {{"block", name ? Json(name) : Json()},
             {"result", block.id || !block.problems.empty() ? Json(result_word(block.result)) : Json()},
             {"problems", block.problems},
             {"missing", block.missing},
             {"notes", block.notes}});
    }
    return {{"blocks", blocks}, {"not_asked_for", outcome.unasked}};
}

// What there is to restore; a file that is damaged is restored as far as it goes.
void check_file(const Backup &backup, const BackupArgs &args, int32_t mask) {
    for (const std::string &problem : backup.problems())
        fprintf(stderr, "morvctl: note: %s is damaged: %s\n", printable(args.file).c_str(),
                printable(problem).c_str());
    if (!args.only) return;
    const int32_t missing = mask & ~backup.kinds();
    if (missing == mask)
        throw Failure(Exit::kNotFound, args.file + " has nothing of " + joined(kind_names(mask)));
    if (missing) {
        fprintf(stderr, "morvctl: note: %s has nothing of %s\n", printable(args.file).c_str(),
                joined(kind_names(missing)).c_str());
    }
}

}  // namespace

int import_backup(const Session &session, const BackupArgs &args) {
    const int32_t mask = parse_kinds(args.only, kAllKinds);
    const Backup backup = read_backup(args.file, session.dry_run);
    check_file(backup, args, mask);
    if (!session.dry_run) check_marker(session);
    BackupReport report;
    const auto restore = [&] {
        return import_settings(args.file, mask, args.only ? 1 : 0, backup.blocks.size(), report);
    };
    bool succeeded;
    Json document = Json::object();
    if (session.dry_run) {
        const BackupPreview preview(session, backup);
        // The private root is the system root now, and the file outside of that.
        succeeded = restore();
        preview.show(session, document);
    } else {
        // In the middle of it the services are stopped: a signal waits until they run again.
        const HeldSignals held;
        MORVFileDurabilitySet(MORV_DURABLE);
        succeeded = restore();
    }
    // In the copy no volume has quotas.
    if (session.dry_run) {
        for (BackupReport::Block &block : report.blocks) {
            if (block.id == MORV_SYSBKP_USERQUOTA && !block.notes.empty())
                block.notes = {"whether the volumes have quotas is not tried"};
        }
    }
    const Outcome outcome = outcome_of(std::move(report), mask, succeeded);
    document.update(outcome_json(outcome));
    document["damage"] = backup.problems();
    document["dry_run"] = session.dry_run;
    if (session.json) {
        print_json(document);
    } else {
        print_outcome(outcome, session);
    }
    if (outcome.failed.empty()) return int(Exit::kDone);
    throw Failure(Exit::kFailed,
                  std::string(session.dry_run ? "not all would be restored: " : "not all is restored: ") +
                      joined(outcome.failed) + " failed, as told on standard output");
}

}  // namespace morvctl
