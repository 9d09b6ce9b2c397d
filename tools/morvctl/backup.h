// What the commands of `morvctl backup` have in common: the kinds of settings by name, and a backup file in
// memory.
#pragma once

#include <morvsdk/sysbkp.h>

#include <optional>
#include <string>
#include <vector>

#include "morvctl/families.h"
#include "morvctl/output.h"

namespace morvctl {

struct BackupArgs {
    std::string file;
    std::optional<std::string> only;
    bool force = false;
    bool show_secrets = false;
};

inline constexpr int32_t kAllKinds = int32_t{MORV_SYSBKP_ALL} | int32_t{MORV_SYSBKP_MYSQL};

// "time,user" as a mask; `all` without a text. A name that is not known is wrong usage.
int32_t parse_kinds(const std::optional<std::string> &only, int32_t all);

// The names of the kinds of a mask, in the order of a file.
std::vector<std::string> kind_names(int32_t mask);
std::string joined(const std::vector<std::string> &names);

// The name of a block, as "user"; "block 0x4" for a kind that is not known.
std::string block_name(const MORVSYSBKPBLOCK &block);

// A text as it is shown behind a name: escaped, in quotes.
std::string quoted(const std::string &text);

// Walks over a file as MORVSysbkpEnum does; fails for one that cannot be read, or is no backup file.
void walk_backup(const std::string &file, const MORVSYSBKPVISITOR &visitor, int32_t *mask = nullptr);

// ---- A file in memory ----

struct BackupItem {
    const char *name;
    int32_t type;
    int32_t value;
    bool is_secret;
    std::string text;
};

// A user, group or share, or one of what that has several of.
struct BackupRecord {
    std::vector<BackupItem> items;
    std::vector<BackupRecord> entries;

    // Null, "" and 0 where there is none, as in a file that is damaged.
    const BackupItem *find(const char *name) const;
    const std::string &text(const char *name) const;
    int32_t number(const char *name) const;
};

struct BackupBlock {
    MORVSYSBKPBLOCK head;
    std::string problem;  // "" for one that is sound
    BackupRecord settings;
    std::vector<BackupRecord> records;
};

struct Backup {
    std::vector<BackupBlock> blocks;
    std::string problem;  // with the file as a whole

    const BackupBlock *find(int32_t id) const;  // the first
    int32_t kinds() const;                      // those of its blocks
    std::vector<std::string> problems() const;  // with the names of the blocks
};

// with_items: whether the items are kept; damage is found in any case.
Backup read_backup(const std::string &file, bool with_items);

// ---- What a report was told ----

struct BackupReport {
    struct Block {
        int32_t id = 0;      // 0: the file as a whole
        int32_t result = 0;  // MORV_SYSBKP_DONE, MORV_SYSBKP_FAILED or MORV_SYSBKP_SKIPPED
        std::vector<std::string> problems, notes, missing;
    };
    std::vector<Block> blocks;

    Block &of(int32_t id);
    std::string first_problem() const;  // ""
};

// The library's export and import, with a report, and on a terminal with how far they are. Answer whether all went
// well.
bool export_settings(const std::string &file, int32_t mask, BackupReport &report);
bool import_settings(const std::string &file, int32_t mask, int option, size_t blocks, BackupReport &report);

// ---- the commands ----

int export_backup(const Session &session, const BackupArgs &args);
int import_backup(const Session &session, const BackupArgs &args);
int inspect_backup(const Session &session, const BackupArgs &args);
int verify_backup(const Session &session, const BackupArgs &args);
int diff_backup(const Session &session, const BackupArgs &args);

}  // namespace morvctl
