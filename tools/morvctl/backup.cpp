// morvctl backup: all settings in one file, and back.
#include "morvctl/backup.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "morvctl/accounts.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

const std::string kNoText;

constexpr CodeText kTexts[] = {
    {ERR_FORMAT_ERROR, true, "it is no backup of a configuration"},
};

// What is in each kind, for the help. Those that hold nothing are left out.
constexpr struct {
    int32_t id;
    const char *holds;
} kHolds[] = {
    {MORV_SYSBKP_TIME, "time server, time zone"},
    {MORV_SYSBKP_HOSTNAME, "name in the network"},
    {MORV_SYSBKP_MAIL, "mail server, who gets notifications"},
    {MORV_SYSBKP_APPLE, "Apple file service"},
    {MORV_SYSBKP_WINDOWS, "workgroup, WINS server"},
    {MORV_SYSBKP_USER, "users with the hashes of their passwords"},
    {MORV_SYSBKP_GROUP, "groups and their members"},
    {MORV_SYSBKP_SHARE, "shares and who may do what in them"},
    {MORV_SYSBKP_HDSLEEPTIME, "when idle disks stop"},
    {MORV_SYSBKP_RUNFTPD, "FTP service"},
    {MORV_SYSBKP_PPPOE, "PPPoE with its password"},
    {MORV_SYSBKP_PHOTO, "photo albums"},
    {MORV_SYSBKP_HTTPPORT, "ports of the web server"},
    {MORV_SYSBKP_MTU, "MTU of eth0"},
    {MORV_SYSBKP_RCPOWER, "power by remote control"},
    {MORV_SYSBKP_USBCOPYSET, "where USB disks are copied to"},
    {MORV_SYSBKP_WEB, "web server"},
    {MORV_SYSBKP_DCACHE, "write cache of the disks"},
    {MORV_SYSBKP_FETCHDESK, "downloads"},
    {MORV_SYSBKP_MYSQL, "database service"},
    {MORV_SYSBKP_USERQUOTA, "limits of users on volumes"},
};

std::string kinds_help() {
    std::string text = "Kinds:\n";
    for (const auto &kind : kHolds) {
        char line[96];
        snprintf(line, sizeof line, "  %-12s %s\n", MORVSysbkpName(kind.id), kind.holds);
        text += line;
    }
    return text;
}

// The blocks of a file as they come. Failures are thrown behind the library, through which nothing goes.
struct Reader {
    Backup &backup;
    const bool keeps_items;
    std::exception_ptr failure = {};

    MORVSYSBKPVISITOR visitor() { return {begin, item, end, this}; }

  private:
    template <class F>
    int guarded(F take) noexcept {
        try {
            take();
            return 0;
        } catch (...) {
            failure = std::current_exception();
            return 1;
        }
    }
    static int begin(const MORVSYSBKPBLOCK *block, void *context) {
        Reader &self = *static_cast<Reader *>(context);
        return self.guarded([&] { self.backup.blocks.push_back({*block, "", {}, {}}); });
    }
    // Also those that are not kept are to be looked at: damage shows by them.
    static int item(const MORVSYSBKPBLOCK *, const MORVSYSBKPITEM *item, void *context) {
        Reader &self = *static_cast<Reader *>(context);
        return self.keeps_items ? self.guarded([&] { self.keep(*item); }) : 0;
    }
    static int end(const MORVSYSBKPBLOCK *block, const char *problem, void *context) {
        Reader &self = *static_cast<Reader *>(context);
        if (!problem) return 0;
        Backup &backup = self.backup;
        return self.guarded([&] { (block ? backup.blocks.back().problem : backup.problem) = problem; });
    }

    void keep(const MORVSYSBKPITEM &item) {
        BackupBlock &block = backup.blocks.back();
        BackupRecord *place = &block.settings;
        if (item.record >= 0) place = &at(block.records, item.record);
        if (item.entry >= 0) place = &at(place->entries, item.entry);
        place->items.push_back({item.szName ? item.szName : "", item.type, item.value, item.isSecret == 1,
                                std::string(item.szText, size_t(std::max(item.length, 0)))});
    }
    // They come one after the other.
    static BackupRecord &at(std::vector<BackupRecord> &records, int32_t index) {
        if (size_t(index) >= records.size()) records.emplace_back();
        return records.back();
    }
};

}  // namespace

int32_t parse_kinds(const std::optional<std::string> &only, int32_t all) {
    if (!only) return all;
    int32_t mask = 0;
    const std::vector<std::string> names = kind_names(kAllKinds & ~(MORV_SYSBKP_LANG | MORV_SYSBKP_FINISH));
    for (const std::string &name : split_list(*only)) {
        const MORVSYSROUTINE *row = grgSysRoutine;
        while (row->id != 0 && name != MORVSysbkpName(row->id))
            ++row;
        if (row->id == 0) {
            throw Failure(Exit::kUsage,
                          "'" + escape(name) + "' is no kind of settings: there are " + joined(names));
        }
        mask |= row->id;
    }
    if (mask == 0) throw Failure(Exit::kUsage, "--only names nothing: there are " + joined(names));
    return mask;
}

std::vector<std::string> kind_names(int32_t mask) {
    std::vector<std::string> names;
    for (const MORVSYSROUTINE *row = grgSysRoutine; row->id != 0; ++row) {
        if (row->id & mask) names.push_back(MORVSysbkpName(row->id));
    }
    return names;
}

std::string joined(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names)
        text.append(text.empty() ? "" : ", ").append(name);
    return text;
}

std::string block_name(const MORVSYSBKPBLOCK &block) {
    if (block.szName) return block.szName;
    char text[24];
    snprintf(text, sizeof text, "block 0x%X", unsigned(block.id));
    return text;
}

std::string quoted(const std::string &text) {
    return "\"" + escape(text) + "\"";
}

void walk_backup(const std::string &file, const MORVSYSBKPVISITOR &visitor, int32_t *mask) {
    clear_errors();
    if (MORVSysbkpEnum(file.c_str(), &visitor, mask) >= 0) return;
    if (MLIBErrGet() == ERR_FORMAT_ERROR) refuse(file + " is no backup of a configuration");
    fail_library("read " + file, kTexts);
}

const BackupItem *BackupRecord::find(const char *name) const {
    for (const BackupItem &item : items) {
        if (strcmp(item.name, name) == 0) return &item;
    }
    return nullptr;
}

const std::string &BackupRecord::text(const char *name) const {
    const BackupItem *item = find(name);
    return item ? item->text : kNoText;
}

int32_t BackupRecord::number(const char *name) const {
    const BackupItem *item = find(name);
    return item ? item->value : 0;
}

const BackupBlock *Backup::find(int32_t id) const {
    for (const BackupBlock &block : blocks) {
        if (block.head.id == id) return &block;
    }
    return nullptr;
}

int32_t Backup::kinds() const {
    int32_t mask = 0;
    for (const BackupBlock &block : blocks) {
        if (block.head.szName) mask |= block.head.id;
    }
    return mask;
}

std::vector<std::string> Backup::problems() const {
    std::vector<std::string> found;
    for (const BackupBlock &block : blocks) {
        if (!block.problem.empty()) found.push_back(block_name(block.head) + ": " + block.problem);
    }
    if (!problem.empty()) found.push_back(problem);
    return found;
}

Backup read_backup(const std::string &file, bool with_items) {
    Backup backup;
    Reader reader{backup, with_items};
    walk_backup(file, reader.visitor());
    if (reader.failure) std::rethrow_exception(reader.failure);
    return backup;
}

BackupReport::Block &BackupReport::of(int32_t id) {
    // A kind may be there twice: what is told goes to the last.
    const auto found =
        std::find_if(blocks.rbegin(), blocks.rend(), [id](const Block &b) { return b.id == id; });
    if (found != blocks.rend()) return *found;
    Block block;
    block.id = id;
    blocks.push_back(block);
    return blocks.back();
}

std::string BackupReport::first_problem() const {
    for (const Block &block : blocks) {
        if (!block.problems.empty()) return block.problems[0];
    }
    return "";
}

namespace {

// Takes what an export or import tells, and shows on a terminal how far it is.
class BackupProgress {
  public:
    BackupProgress(BackupReport &report, size_t expected);
    ~BackupProgress();
    BackupProgress(const BackupProgress &) = delete;
    BackupProgress &operator=(const BackupProgress &) = delete;

    static void tell(const MORVSYSBKPEVENT *event, void *context);  // context: this

    // Fails when something that was told could not be taken.
    void check() const {
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    void take(const MORVSYSBKPEVENT &event);

    BackupReport &report_;
    const size_t expected_;
    size_t begun_ = 0;
    const bool is_shown_;
    std::exception_ptr failure_;
};

BackupProgress::BackupProgress(BackupReport &report, size_t expected)
    : report_(report), expected_(expected), is_shown_(isatty(STDERR_FILENO) == 1) {}

BackupProgress::~BackupProgress() {
    if (is_shown_) fputs("\r\x1b[K", stderr);
}

void BackupProgress::tell(const MORVSYSBKPEVENT *event, void *context) {
    BackupProgress &progress = *static_cast<BackupProgress *>(context);
    try {
        progress.take(*event);
    } catch (...) {
        // Nothing goes through the library, which has services to start again.
        progress.failure_ = std::current_exception();
    }
}

void BackupProgress::take(const MORVSYSBKPEVENT &event) {
    switch (event.what) {
        case MORV_SYSBKP_BEGINS: {
            BackupReport::Block block;
            block.id = event.id;
            report_.blocks.push_back(block);
            ++begun_;
            const char *const name = MORVSysbkpName(event.id);
            if (!is_shown_ || !name) break;
            fprintf(stderr, "\r\x1b[K%zu/%zu %s", begun_, std::max(expected_, begun_), name);
            break;
        }
        case MORV_SYSBKP_PROBLEM:
            report_.of(event.id).problems.push_back(event.szText);
            break;
        case MORV_SYSBKP_NOTE:
            report_.of(event.id).notes.push_back(event.szText);
            break;
        case MORV_SYSBKP_MISSING:
            report_.of(event.id).missing.push_back(event.szText);
            break;
        default:
            report_.of(event.id).result = event.what;
    }
}

}  // namespace

bool export_settings(const std::string &file, int32_t mask, BackupReport &report) {
    BackupProgress progress(report, kind_names(mask == MORV_SYSBKP_ALL ? kAllKinds : mask).size());
    const int result = MORVSysbkpExportReport(file.c_str(), mask, BackupProgress::tell, &progress);
    progress.check();
    return result == 0;
}

bool import_settings(const std::string &file, int32_t mask, int option, size_t blocks, BackupReport &report) {
    BackupProgress progress(report, blocks);
    const int result = MORVSysbkpImportReport(file.c_str(), mask, option, BackupProgress::tell, &progress);
    progress.check();
    return result == 0;
}

void add_backup_commands(CLI::App &family, Session &session) {
    static constexpr uint32_t kLocks =
        MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB | MORV_LOCK_MORVINFO | MORV_LOCK_HOST | MORV_LOCK_NW;
    const auto add = [&](const char *name, const char *description,
                         int (*work)(const Session &session, const BackupArgs &args),
                         const char *file_help) -> std::pair<CLI::App &, BackupArgs &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        auto args = std::make_shared<BackupArgs>();
        run_with(command, session, [args, work](Session &s) {
            if (work != inspect_backup && !s.dry_run) prepare_locks(s, kLocks);
            return work(s, *args);
        });
        add_text(command, "FILE", args->file, file_help)->required();
        return {command, *args};
    };
    const auto add_only = [](CLI::App &command, BackupArgs &args, const char *description) {
        add_text(command, "--only", args.only, description)->type_name("KINDS");
    };
    const auto add_secrets = [](CLI::App &command, BackupArgs &args) {
        command.add_flag("--show-secrets", args.show_secrets, "Show passwords and their hashes, too");
    };
    {
        auto [command, args] = add("export", "Write the settings to a file", export_backup,
                                   "The file, which only its owner can read then");
        add_only(command, args, "Only these, as time,user,share");
        command.add_flag("--force", args.force, "Replace a file that is there");
    }
    {
        auto [command, args] = add("import", "Restore the settings from a file", import_backup, "The file");
        add_only(command, args, "Only these, as time,user,share");
        command.add_flag("--dry-run", session.dry_run, "Print what would change, and change nothing");
    }
    {
        auto [command, args] = add("inspect", "Show what is in a file", inspect_backup, "The file");
        add_only(command, args, "Only these, as time,user,share");
        add_secrets(command, args);
    }
    add("verify", "Tell whether a file is sound, and what of it this system could not restore", verify_backup,
        "The file");
    {
        auto [command, args] =
            add("diff", "Compare a file with the settings of this system", diff_backup, "The file");
        add_only(command, args, "Only these, as time,user,share");
        add_secrets(command, args);
    }
    // Not in the help of each command, which has taken over the other part already.
    family.footer(kinds_help() + "\n" + family.get_footer());
}

}  // namespace morvctl
