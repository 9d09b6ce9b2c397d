// Account files as texts: lines "name:field:field", one account each, among lines that are none. Text in,
// text out.
#pragma once

#include <stdint.h>

#include <bitset>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace morv {

// Upper-cases a name to `key`. False for one that is not valid UTF-8: no account can be found by it.
bool upper_name(std::string_view name, std::string &key);

// Some upper-cased names, of which it tells most others apart without upper-casing them.
class KeyFilter {
  public:
    void add(std::string_view key) noexcept;

    // False: none of the keys is this name's.
    bool may_have(std::string_view name) const noexcept;

  private:
    std::bitset<128> first_;  // bytes that keys begin with; others than ASCII are let through
};

// What stands before the first separator.
inline std::string_view first_field(std::string_view line) noexcept {
    return line.substr(0, line.find(':'));
}

// Whether a line of passwd or group (at least four fields) or of the other files (a name and more) is an
// account's. Comments are not, nor are lines that start with "+" or "-": they call in other sources of
// accounts.
bool is_system_line(std::string_view line) noexcept;
bool is_named_line(std::string_view line) noexcept;

// Whether a stored text is one line, of the account with this upper-cased name. May throw std::bad_alloc.
bool is_line_of(std::string_view key, std::string_view line);

// The last line, without its line feed, of each account, by upper-cased name.
using LinesByName = std::unordered_map<std::string, std::string_view>;
LinesByName index_lines(std::string_view text, bool (*is_line)(std::string_view));

// Changes of the lines of some accounts, by upper-cased name.
class LineEdits {
  public:
    // What becomes of accounts that are not named below: they stay, or go.
    enum Others { kStay, kGo };
    explicit LineEdits(Others others = kStay) : others_(others) {}

    // The account's line becomes this one, or it is added at the end. Of several lines with one name the
    // last counts; the others stay as they are.
    void put(std::string_view key, std::string_view line);

    // The line of `old_key` becomes this one, under another name.
    void rename(std::string_view old_key, std::string_view key, std::string_view line);

    // The lines of the account stay as they are.
    void keep(std::string_view key);

    // All lines of the account go.
    void drop(std::string_view key);

    // Appends `text` to `out` with the changes made.
    void apply(std::string_view text, bool (*is_line)(std::string_view), std::string &out) const;

  private:
    struct Edit {
        int line = -1;     // in lines_; -1: the line goes
        bool all = false;  // also of further lines with the name
        bool stays = false;
    };
    void enter(std::string_view key, Edit edit);

    Others others_;
    std::unordered_map<std::string, Edit> edits_;
    KeyFilter keys_;
    std::vector<std::string> lines_;
};

// ---- Lists of names: "alice,bob" ------------------------------------------------------------------------

// The items of a list, without the blanks and quotes around them; empty ones are passed over.
class Items {
  public:
    explicit Items(std::string_view list) noexcept : rest_(list) {}
    bool next() noexcept;
    std::string_view item;

  private:
    std::string_view rest_;
};

// Appends `list` to `out` with the item `key` (upper-cased) replaced by `name`, or left out when that is
// empty. Items that stay are not touched. With kBlanks a name that holds a blank is put in quotes, for
// readers that divide lists at blanks. Answers whether it was there.
enum class Quotes { kNone, kBlanks };
bool edit_list(std::string_view list, std::string_view key, std::string_view name, std::string &out,
               Quotes quotes = Quotes::kNone);

// ---- Markers: "#$WORD$number$", the number handed out last ----------------------------------------------

inline constexpr std::string_view kUidMarker = "_@UID__INDEX@_";
inline constexpr std::string_view kGidMarker = "_@GID__INDEX@_";

// The number of the marker if it lies between least and most, else -1.
int find_marker(std::string_view text, std::string_view word, int least, int most) noexcept;

// Appends `text` to `out` with the marker holding `number`; a line is added when there is none. Answers
// whether the marker stands in the line of an account.
bool set_marker(std::string_view text, std::string_view word, int number, std::string &out);

}  // namespace morv
