// morvctl backup diff: a file against the settings of this system.
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <map>
#include <set>

#include "morvctl/accounts.h"
#include "morvctl/backup.h"
#include "morvctl/scratch_folder.h"

namespace morvctl {

namespace {

struct Difference {
    std::string block;
    std::string record;      // "alice", or "" for a setting of the block itself
    std::string field = {};  // "" when the record is only on one side
    std::string here = {}, file = {};
    bool is_only_here = false;
    bool is_only_in_file = false;
    bool is_twice = false;  // in the file
    bool is_secret = false;
};

// Which item of a record it is found by.
const char *key_of(const BackupRecord &record) {
    return record.find("name") ? "name" : record.find("path") ? "path" : "member";
}

class Comparison {
  public:
    explicit Comparison(bool show_secrets) : show_secrets_(show_secrets) {}

    std::vector<Difference> differences;

    void compare(const BackupBlock &here, const BackupBlock &file) {
        block_ = block_name(file.head);
        compare_items("", here.settings, file.settings);
        compare_records("", here.records, file.records);
    }

  private:
    // A number that says how many records follow tells nothing that these do not. What the time was when the file
    // was written is no setting.
    bool is_compared(const BackupItem &item, bool has_records) const {
        if (block_ == "time" && strcmp(item.name, "time") == 0) return false;
        return !(has_records && item.type == MORV_SYSBKP_LONG &&
                 (strcmp(item.name, block_ == "userquota" ? "users" : (block_ + "s").c_str()) == 0 ||
                  strcmp(item.name, "members") == 0 || strcmp(item.name, "volumes") == 0));
    }

    static std::string shown(const BackupItem &item) {
        return item.type == MORV_SYSBKP_LONG ? std::to_string(item.value) : quoted(item.text);
    }

    void compare_items(const std::string &record, const BackupRecord &here, const BackupRecord &file) {
        const bool counts =
            block_ == "user" || block_ == "group" || block_ == "share" || block_ == "userquota";
        for (const BackupItem &item : file.items) {
            if (!is_compared(item, counts)) continue;
            const BackupItem *other = here.find(item.name);
            if (!other) continue;  // of a block that could not be read whole
            if (other->type == item.type && other->value == item.value && other->text == item.text) continue;
            Difference difference{block_, record, item.name};
            difference.is_secret = item.is_secret && !show_secrets_;
            if (!difference.is_secret) {
                difference.here = shown(*other);
                difference.file = shown(item);
            }
            differences.push_back(difference);
        }
    }

    void compare_records(const std::string &owner, const std::vector<BackupRecord> &here,
                         const std::vector<BackupRecord> &file) {
        std::map<std::string, const BackupRecord *> others;
        const auto key = [](const BackupRecord &record) { return name_key(record.text(key_of(record))); };
        const auto name = [&](const BackupRecord &record) {
            return owner + (owner.empty() ? "" : ": ") +
                   (owner.empty() ? "" : std::string(key_of(record)) + " ") +
                   escape(record.text(key_of(record)));
        };
        for (const BackupRecord &record : here)
            others[key(record)] = &record;
        for (const BackupRecord &record : file) {
            const auto other = others.find(key(record));
            if (other == others.end()) {
                Difference difference{block_, name(record)};
                difference.is_only_in_file = true;
                differences.push_back(difference);
                continue;
            }
            if (!other->second) {
                Difference twice{block_, name(record)};
                twice.is_twice = true;
                differences.push_back(twice);
                continue;
            }
            compare_items(name(record), *other->second, record);
            compare_records(name(record), other->second->entries, record.entries);
            other->second = nullptr;
        }
        for (const BackupRecord &record : here) {
            const auto left = others.find(key(record));
            if (!left->second) continue;
            Difference difference{block_, name(record)};
            difference.is_only_here = true;
            differences.push_back(difference);
        }
    }

    const bool show_secrets_;
    std::string block_;
};

// The settings here, as a file of our own that nobody else can read. A kind that cannot be read is told, and keeps
// no other back.
Backup read_live(int32_t kinds, std::vector<std::string> &faults) {
    const ScratchFolder scratch;
    const std::string file = scratch.path("live");
    BackupReport report;
    if (export_settings(file, kinds, report)) return read_backup(file, true);
    Backup live;
    for (const MORVSYSROUTINE *row = grgSysRoutine; row->id != 0; ++row) {
        if (!(row->id & kinds)) continue;
        BackupReport of_one;
        if (!export_settings(file, row->id, of_one)) {
            const std::string why = of_one.first_problem();
            faults.push_back("cannot read the settings '" + std::string(MORVSysbkpName(row->id)) +
                             "' of this system: " + (why.empty() ? "the system log tells why" : why));
            continue;
        }
        for (BackupBlock &block : read_backup(file, true).blocks)
            live.blocks.push_back(std::move(block));
    }
    return live;
}

std::string line_of(const Difference &difference) {
    std::string line = difference.block;
    if (!difference.record.empty()) line += " " + difference.record;
    if (difference.is_only_here) return line + ": only here";
    if (difference.is_only_in_file) return line + ": only in the file";
    if (difference.is_twice) return line + ": in the file more than once";
    line += (difference.record.empty() ? "." : ": ") + difference.field;
    if (difference.is_secret) return line + " differs";
    return line + ": " + difference.here + " here, " + difference.file + " in the file";
}

Json difference_json(const Difference &difference) {
    return {{"block", difference.block},
            {"name", difference.record.empty() ? Json() : Json(difference.record)},
            {"only", difference.is_only_here                             ? Json("here")
                     : difference.is_only_in_file || difference.is_twice ? Json("file")
                                                                         : Json()},
            {"field", difference.field.empty() ? Json() : Json(difference.field)},
            {"here", difference.here.empty() ? Json() : Json(difference.here)},
            {"file", difference.file.empty() ? Json() : Json(difference.file)}};
}

}  // namespace

int diff_backup(const Session &session, const BackupArgs &args) {
    const int32_t wanted = parse_kinds(args.only, kAllKinds);
    const Backup backup = read_backup(args.file, true);
    std::vector<std::string> faults;
    for (const std::string &problem : backup.problems())
        faults.push_back(args.file + " is damaged: " + problem);
    const int32_t kinds = wanted & backup.kinds();
    if (args.only && kinds == 0) throw Failure(Exit::kNotFound, args.file + " has nothing of " + *args.only);
    Comparison comparison(args.show_secrets);
    if (kinds != 0) {
        const Backup live = read_live(kinds, faults);
        for (const BackupBlock &block : backup.blocks) {
            const BackupBlock *here = live.find(block.head.id);
            if ((block.head.id & kinds) && block.head.szName && here) comparison.compare(*here, block);
        }
    }
    if (session.json) {
        Json differences = Json::array();
        for (const Difference &difference : comparison.differences)
            differences.push_back(difference_json(difference));
        print_json({{"file", args.file},
                    {"same", comparison.differences.empty() && faults.empty()},
                    {"differences", differences},
                    {"faults", faults}});
    } else {
        for (const Difference &difference : comparison.differences)
            print_line(printable(line_of(difference)));
        if (comparison.differences.empty() && faults.empty()) {
            print_line(printable("what " + args.file + " holds is what this system has"));
        }
    }
    if (!faults.empty()) {
        fflush(stdout);
        for (size_t i = 0; i + 1 < faults.size(); ++i)
            fprintf(stderr, "morvctl: %s\n", printable(faults[i]).c_str());
        throw Failure(Exit::kFailed, faults.back());
    }
    return int(comparison.differences.empty() ? Exit::kDone : Exit::kNotFound);
}

}  // namespace morvctl
