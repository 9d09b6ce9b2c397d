#include "core/account/reserved_change.h"

#include <morvsdk/error.h>
#include <morvsdk/internal/share.h>

#include "core/account/share_conf.h"
#include "core/store/records.h"
#include "core/text/lines.h"
#include "core/text/list_guard.h"
#include "core/text/trim.h"

namespace morv {

bool is_reserved(const ConfSection &section, const std::string &key) {
    return section.type == MORV_SECTION_RESERVED && reserved_key(section.name) == key;
}

bool may_be_line(std::string_view line) noexcept {
    return !trim_blanks(line).starts_with('[') && line.find('\n') == line.npos;
}

std::string edit_reserved(std::string_view text, const std::string &key,
                          const std::vector<std::string_view> *lines) {
    size_t count = 0;
    for (ConfSections sections(text); sections.next();)
        count += is_reserved(sections.section, key);
    TextChange change(text);
    for (ConfSections sections(text); sections.next();) {
        if (!is_reserved(sections.section, key)) continue;
        std::string edited;
        if (lines && --count == 0) {
            replace_lines(sections.section.text, *lines, edited);
        } else {
            edited = rest_of_section(sections.section.text);
        }
        change.replace(sections.section, edited);
    }
    return change.finish();
}

namespace {

std::string line_of(const char *key, const char *value) {
    return std::string(trim_blanks(key)) + "=" + value;
}

// Whether it is read back as the same.
bool is_pair(const char *key, const char *value) {
    if (!is_line(key) || !is_line(value)) return false;
    const std::string line = line_of(key, value);
    std::string_view key_there;
    std::string_view value_there;
    return may_be_line(line) && read_conf_line(line, &key_there, &value_there) == ConfLine::kPair &&
           key_there == trim_blanks(key) && value_there == value && !value_there.ends_with('\\');
}

// Whether a section says that a key has a value, as the last one of its lines does.
bool says(const ConfSection &section, const ReservedKey &wanted) {
    bool is_said = false;
    std::string_view key;
    std::string_view value;
    for (const std::string_view line : Lines(section.body())) {
        if (read_conf_line(line, &key, &value) == ConfLine::kPair && is_same_setting(key, wanted.key))
            is_said = value == wanted.value;
    }
    return is_said;
}

// The new text of a configuration in which a reserved section has some other keys. Of several sections with
// one name the last one counts; but what goes would count in others, too.
std::string edit_keys(std::string_view text, const char *name, const std::string &section_key,
                      std::span<const ReservedKey> keys) {
    size_t count = 0;
    for (ConfSections sections(text); sections.next();)
        count += is_reserved(sections.section, section_key);
    const bool is_missing = count == 0;
    TextChange change(text);
    for (ConfSections sections(text); sections.next();) {
        const ConfSection &section = sections.section;
        if (!is_reserved(section, section_key)) continue;
        const bool counts = --count == 0;
        KeyEdits edits;
        for (const ReservedKey &key : keys) {
            if (!key.value) {
                edits.drop(key.key);
            } else if (counts && !says(section, key)) {
                edits.set(key.key, key.value);
            }
        }
        std::string edited;
        edits.apply(section.text, edited);
        change.replace(section, edited);
    }
    std::string edited = change.finish();
    KeyEdits edits;
    for (const ReservedKey &key : keys) {
        if (is_missing && key.value) edits.set(key.key, key.value);
    }
    if (!edits.empty()) edits.append(name, edited);
    return edited;
}

class ReservedChange : ConfChange {
  public:
    int replace(const char *name, const MLIBSZHASH *pairs) {
        std::vector<std::string> lines;
        for (int i = 0; pairs && i < pairs->nBucket; ++i) {
            const MLIBSZHASHBUCKET &pair = pairs->bucket[i];
            if (!pair.pszKey) continue;
            if (!is_pair(pair.pszKey, pair.pszValue)) return ERR_BAD_PARAMETERS;
            lines.push_back(line_of(pair.pszKey, pair.pszValue));
        }
        const std::vector<std::string_view> views(lines.begin(), lines.end());

        if (const int code = open()) return code;
        const std::string key = reserved_key(name);
        std::string_view image;
        const int found = find_record(mirror_->store[kShares], store_key(key), &image);
        if (found && (found != ERR_KEY_NOT_FOUND || !pairs)) return found;
        std::string text = edit_reserved(ConfChange::text(), key, pairs ? &views : nullptr);
        if (found && pairs) append_lines(name, views, text);
        files_->set(AccountFile::kSmbConf, std::move(text));
        bool in_effect;
        if (const int code = commit(&in_effect)) return code;
        update_mirror([&](Mirror &mirror) {
            if (!pairs) return erase_record(mirror.store[kShares], store_key(key));
            return store(mirror, name, lines);
        });
        return lock_.release();
    }

    int set_keys(const char *name, std::span<const ReservedKey> keys) {
        for (const ReservedKey &key : keys) {
            if (!is_pair(key.key, key.value ? key.value : "")) return ERR_BAD_PARAMETERS;
        }
        if (const int code = open()) return code;
        const std::string section = reserved_key(name);
        files_->set(AccountFile::kSmbConf, edit_keys(text(), name, section, keys));
        if (!files_->changes(AccountFile::kSmbConf)) return lock_.release();
        bool in_effect;
        if (const int code = commit(&in_effect)) return code;
        update_mirror([&](Mirror &mirror) { return store_anew(mirror, section); });
        return lock_.release();
    }

  private:
    // The pairs alone: comments before the next section are not the section's own.
    int store(Mirror &mirror, std::string name, const std::vector<std::string> &lines) {
        for (ConfSections sections(text()); sections.next();) {
            if (is_reserved(sections.section, reserved_key(name))) name = sections.section.name;
        }
        MLIBSZLIST *list = PslMLIBSzListAlloc(1024);
        if (!list) return ERR_OUT_OF_MEMORY;
        bool is_full = MLIBSzListPush(&list, name.c_str()) >= 0;
        for (const std::string &line : lines)
            is_full = is_full && MLIBSzListPush(&list, line.c_str()) >= 0;
        const ListPtr owned(list);
        if (!is_full) return ERR_OUT_OF_MEMORY;
        return MORVListDBSet(mirror.store[kShares], name.c_str(), list) == 0 ? 0 : MLIBErrGet();
    }

    // As building the mirror does.
    int store_anew(Mirror &mirror, const std::string &key) {
        for (ConfSections sections(text()); sections.next();) {
            if (!is_reserved(sections.section, key)) continue;
            int code = reader_.read(sections.section);
            if (code == 0) code = reader_.store_lines(sections.section, mirror);
            if (code) return code;
        }
        return 0;
    }
};

}  // namespace

int change_reserved(const char *section, const MLIBSZHASH *pairs) noexcept {
    return no_throw([&] { return ReservedChange().replace(section, pairs); });
}

int change_reserved_keys(const char *section, std::span<const ReservedKey> keys) noexcept {
    return no_throw([&] { return ReservedChange().set_keys(section, keys); });
}

}  // namespace morv
