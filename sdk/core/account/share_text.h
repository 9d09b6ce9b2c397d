// The text of the file-sharing configuration, section by section. Text in, text out: what is not to change
// stays byte for byte.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morv {

// A section: from its opening line up to the next one.
struct ConfSection {
    std::string_view text;
    std::string_view opening;  // the first line
    std::string name;
    int type = 0;  // MORV_SECTION_...

    std::string_view body() const noexcept { return text.substr(opening.size()); }
};

// The sections of a text. Lines before the first are none's.
class ConfSections {
  public:
    explicit ConfSections(std::string_view text) noexcept;
    bool next();  // may throw std::bad_alloc
    ConfSection section;

  private:
    std::string_view rest_;  // begins with an opening line
};

// What a line of a section of a share is.
enum class ConfLine { kNothing, kPair, kMalformed };

// Key and value as they are looked up: the key in the letters of the file; neither with the quotes around
// it.
ConfLine read_conf_line(std::string_view line, std::string_view *key, std::string_view *value) noexcept;

// Whether other readers take a key for the setting `wanted`, which is in lower case.
bool is_same_setting(std::string_view key, std::string_view wanted) noexcept;

// A path without "//", "/./" and slashes at the end; empty for the root.
std::string plain_path(std::string_view path);

// A text, and a list of names, as values that are read back as the same. Names with a blank are quoted:
// other readers of the file divide lists at blanks.
std::string conf_value(std::string_view text);
std::string conf_list(std::string_view list);

// What the keys of a section are to say from now on. The names of keys are not copied.
class KeyEdits {
  public:
    void set(std::string_view key, std::string value) { edits_.push_back({key, std::move(value), kSet}); }
    void drop(std::string_view key) { edits_.push_back({key, std::string(), kDrop}); }

    // The key is there and its value is right.
    void keep(std::string_view key) { edits_.push_back({key, std::string(), kKeep}); }

    bool empty() const noexcept { return edits_.empty(); }

    // Appends the section with the changes made. Of a key that is there several times the last one counts;
    // the others and other spellings of the same setting might undo the change, and go. New keys follow the
    // last one, in its form.
    void apply(std::string_view section, std::string &out) const;

    // Appends a section of the keys that are set to a whole configuration.
    void append(std::string_view name, std::string &text) const;

  private:
    enum Kind { kSet, kKeep, kDrop };
    struct Edit {
        std::string_view key;  // lower case
        std::string value;
        Kind kind;
    };
    std::vector<Edit> edits_;
};

// Appends the section under another name.
void rename_section(std::string_view section, std::string_view name, std::string &out);

// What stays when the section goes: the comments before the next one, from the first blank line behind the
// last key.
std::string_view rest_of_section(std::string_view section) noexcept;

// Appends the section with other lines.
void replace_lines(std::string_view section, std::vector<std::string_view> lines, std::string &out);

// Appends a section of these lines to a whole configuration.
void append_lines(std::string_view name, const std::vector<std::string_view> &lines, std::string &text);

// "/etc/exports" with another path in place of a share's, or without its lines.
void edit_exports(std::string_view text, std::string_view path, std::string_view new_path, std::string &out);

}  // namespace morv
