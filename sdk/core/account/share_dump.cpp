#include "core/account/share_dump.h"

#include <morvsdk/error.h>
#include <string.h>

#include <map>
#include <set>
#include <vector>

#include "core/account/account_files.h"
#include "core/account/named_lines.h"
#include "core/account/reserved_change.h"
#include "core/account/share_conf.h"
#include "core/account/share_keys.h"
#include "core/account/share_mirror.h"
#include "core/store/records.h"
#include "core/text/list_guard.h"
#include "core/text/trim.h"

namespace morv {

namespace {

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

int dump_shares(Mirror &mirror) {
    return Dump(mirror).run();
}

}  // namespace morv
