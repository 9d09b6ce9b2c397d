// What the stores of users and groups have in common.
#pragma once

#include <morvsdk/bdb.h>
#include <morvsdk/list.h>
#include <stdint.h>
#include <sys/stat.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/file/file_text.h"
#include "core/store/mirror.h"

namespace morv {

// The key of an account in a store: its upper-cased name with the NUL.
inline std::string_view store_key(const std::string &upper) noexcept {
    return {upper.c_str(), upper.size() + 1};
}
inline std::string_view store_key(const char *upper) noexcept {
    return {upper, std::char_traits<char>::length(upper) + 1};
}

// The key of an id: "%06d" with the NUL, cut to six characters.
struct IdKey {
    char text[7];
    explicit IdKey(uint32_t id) noexcept;
    std::string_view view() const noexcept { return {text, sizeof text}; }
};

// Lines hold ids with a sign, and other tools take none below 0.
inline constexpr uint32_t kMostId = INT32_MAX;

// A source as it was read: its text, and its state at that time.
struct SourceText {
    FileText text;
    struct stat st;

    // Answers 0, ERR_OPEN_FAILED, ERR_STAT_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY.
    int load(const char *system_path) noexcept;
};

// Puts the lines of a text that `is_line` accepts under their upper-cased names, in the order of the keys,
// which is what a btree takes fastest. Of lines with the same name the last one stays. The text's line
// feeds become NULs. `each`, if there, sees every line that is stored, and ends the work with an error
// code.
//
// file, who: for the log line about one without a name: "FILE format error, WHO name = "; a null `who` logs
// nothing
using EachLine = std::function<int(std::string_view key, std::string_view line)>;
int store_lines(MORVBDB *db, FileText &text, bool (*is_line)(std::string_view), const char *file,
                const char *who, const EachLine &each);

// The ids of a family, handed out one after the other.
struct IdRange {
    const char *reserved;  // key of the record that holds the last one
    std::string_view marker;
    uint32_t first, last;
    int none_free;  // the code
};
extern const IdRange uid_range;
extern const IdRange gid_range;

// The third field of a line as an id. ERR_FORMAT_ERROR when it is no number.
int parse_id(std::string_view line, uint32_t *id) noexcept;

// Puts names (with their NUL) under their ids, in the order of the ids.
struct IdName {
    IdKey id;
    std::string name;
};
int store_ids(MORVBDB *ids, const std::vector<IdName> &pairs);

// The upper-cased name of the first account that has an id, by the stores in these slots.
// ERR_KEY_NOT_FOUND. May throw std::bad_alloc.
int find_id(Mirror &mirror, int names, int ids, uint32_t id, std::string &key);

// Puts down the last id handed out: the marker's of `text`, else the highest of the store.
int store_current_id(MORVBDB *ids, const IdRange &range, std::string_view text) noexcept;
int read_current_id(MORVBDB *ids, const IdRange &range, uint32_t *id) noexcept;
int write_current_id(MORVBDB *ids, const IdRange &range, uint32_t id) noexcept;

// An id that no account has, searched for behind `last`; null: behind the last one handed out. Answers 0,
// the range's code or a code of the store.
int find_free_id(MORVBDB *ids, const IdRange &range, const uint32_t *last, uint32_t *id) noexcept;

// Whether a code says that one account cannot be changed so. With any other, nothing can be changed.
bool is_about_one_account(int code) noexcept;

// The text of a stored line: without the NUL at its end.
inline std::string_view line_of(std::string_view value) noexcept {
    if (!value.empty() && value.back() == '\0') value.remove_suffix(1);
    return value;
}

// Puts down in the system's log of events that the accounts of the domain could not be read.
void report_domain_failure() noexcept;

// Appends a name to a list handle. Answers 0 or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
int push_name(MLIBSZLIST **list, std::string_view name);

}  // namespace morv
