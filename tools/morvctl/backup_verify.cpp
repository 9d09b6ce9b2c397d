// morvctl backup verify: what of a file this system could not restore. That is tried, in a private copy.
#include <set>

#include "morvctl/backup.h"
#include "morvctl/backup_preview.h"

namespace morvctl {

namespace {

struct Finding {
    std::string subject;  // the block
    std::string text;
};

struct Findings {
    std::vector<Finding> found;  // what is not restored, or not whole
    std::vector<Finding> notes;  // what is restored in another way, or passed over on purpose
};

// What the file itself is.
void check_blocks(const Backup &backup, Findings &findings) {
    std::set<int32_t> seen;
    for (const BackupBlock &block : backup.blocks) {
        const std::string name = block_name(block.head);
        const std::string where = " (the block of " + std::to_string(block.head.size) + " bytes at byte " +
                                  std::to_string(block.head.offset) + ")";
        if (!block.head.szName) {
            findings.found.push_back(
                {name, "nothing is known of this kind: neither it nor what follows is restored" + where});
        } else if (!block.problem.empty()) {
            findings.found.push_back({name, "damaged: " + block.problem + where});
        } else if (!seen.insert(block.head.id).second) {
            findings.found.push_back(
                {name, "it is in the file more than once, and restored as often" + where});
        }
    }
    if (!backup.problem.empty()) findings.found.push_back({"file", backup.problem});
    if (backup.blocks.empty()) findings.found.push_back({"file", "it holds no settings at all"});
}

// What an import tells.
void try_import(const Session &session, const std::string &file, const Backup &backup, Findings &findings) {
    const BackupPreview preview(session, backup);
    BackupReport report;
    const bool succeeds = import_settings(file, kAllKinds, 0, backup.blocks.size(), report);
    for (const BackupReport::Block &block : report.blocks) {
        const char *const known = MORVSysbkpName(block.id);
        const std::string name = known ? known : "file";
        for (const std::string &text : block.problems)
            findings.found.push_back({name, text});
        for (const std::string &text : block.missing)
            findings.found.push_back({name, text});
        // In the copy no volume has quotas.
        if (block.id == MORV_SYSBKP_USERQUOTA) continue;
        for (const std::string &text : block.notes)
            findings.notes.push_back({name, text});
    }
    if (!succeeds && findings.found.empty()) findings.found.push_back({"file", "it cannot be restored"});
}

Json findings_json(const std::vector<Finding> &findings) {
    Json documents = Json::array();
    for (const Finding &finding : findings)
        documents.push_back({{"block", finding.subject}, {"text", finding.text}});
    return documents;
}

// "share music: its volume is not here", without the kind before it once more.
std::string line_of(const Finding &finding) {
    const bool says_it = finding.text.starts_with(finding.subject + " ");
    return printable(says_it ? finding.text : finding.subject + ": " + finding.text);
}

void print_findings(const std::string &file, const Findings &findings) {
    for (const Finding &finding : findings.found)
        print_line(line_of(finding));
    for (const Finding &note : findings.notes)
        print_line("note: " + line_of(note));
    if (findings.found.empty()) {
        print_line(printable(file + " is sound, and this system can restore all of it" +
                             (findings.notes.empty() ? "" : " but for what is noted")));
    }
}

}  // namespace

int verify_backup(const Session &session, const BackupArgs &args) {
    const Backup backup = read_backup(args.file, true);
    Findings findings;
    check_blocks(backup, findings);
    try_import(session, args.file, backup, findings);
    if (session.json) {
        print_json({{"file", args.file},
                    {"sound", backup.problems().empty()},
                    {"restorable", findings.found.empty()},
                    {"findings", findings_json(findings.found)},
                    {"notes", findings_json(findings.notes)}});
    } else {
        print_findings(args.file, findings);
    }
    return int(findings.found.empty() ? Exit::kDone : Exit::kNotHealthy);
}

}  // namespace morvctl
