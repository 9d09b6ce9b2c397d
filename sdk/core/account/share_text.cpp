#include "core/account/share_text.h"

#include <morvsdk/internal/share.h>

#include <algorithm>

#include "core/account/named_lines.h"
#include "core/text/lines.h"
#include "core/text/sections.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr size_t kMostName = 495;
constexpr std::string_view kIndent = "\t";
constexpr std::string_view kSeparator = "=";

// The names that other readers take for the same setting.
constexpr std::string_view kSpellings[][4] = {
    {"path", "directory"},
    {"browseable", "browsable"},
    {"guest ok", "public"},
    {"writeable", "writable", "write ok", "read only"},
};

char lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_key_of(std::string_view key, std::string_view wanted) noexcept {
    return std::equal(key.begin(), key.end(), wanted.begin(), wanted.end(),
                      [](char a, char b) { return lower(a) == b; });
}

// Regardless of letter case and blanks.
bool is_spelled(std::string_view key, std::string_view name) noexcept {
    size_t at = 0;
    const auto skip = [&] {
        while (at < name.size() && name[at] == ' ')
            ++at;
    };
    for (const char c : key) {
        if (is_blank(c)) continue;
        skip();
        if (at == name.size() || lower(c) != name[at++]) return false;
    }
    skip();
    return at == name.size();
}

std::string_view end_of(std::string_view line) noexcept {
    return line.ends_with("\r\n") ? "\r\n" : "\n";
}

std::string_view indent_of(std::string_view line) noexcept {
    return line.substr(0, std::min(line.find_first_not_of(" \t"), line.size()));
}

// Where the value stands in a line that holds a pair, without the blanks around it.
std::string_view raw_value(std::string_view line) noexcept {
    const std::string_view text = up_to_nul(line);
    const std::string_view behind = text.substr(text.find('=') + 1);
    const std::string_view value = trim_blanks(behind);
    return value.empty() ? behind.substr(indent_of(behind).size(), 0) : value;
}

// How the pair of a line is written; where it says nothing, the plainest form.
struct PairForm {
    std::string_view indent = kIndent;
    std::string separator{kSeparator};
    std::string_view end = "\n";

    void take(std::string_view line) {
        indent = indent_of(line);
        end = end_of(line);
        const size_t equals = line.find('=');
        const std::string_view before = line.substr(0, equals);
        const auto key_end = before.find_last_not_of(" \t") + 1;
        const std::string_view value = raw_value(line);
        const auto value_at = static_cast<size_t>(value.data() - line.data());
        separator = line.substr(key_end, (value.empty() ? equals + 1 : value_at) - key_end);
        if (value.empty() && separator.size() > 1) separator.push_back(' ');
    }

    void write(std::string &out, std::string_view key, std::string_view value) const {
        out.append(indent).append(key).append(separator).append(value).append(end);
    }
};

void end_line(std::string &out, std::string_view end) {
    if (!out.empty() && out.back() != '\n') out.append(end);
}

bool is_nothing(std::string_view line) noexcept {
    const std::string_view text = trim_blanks(line);
    return text.empty() || is_comment(text);
}

// What is not to open a section is never at the beginning of a line.
void write_line(std::string_view line, std::string_view indent, std::string_view end, std::string &out) {
    if (line.starts_with('[') && indent.empty()) indent = kIndent;
    if (!line.empty()) out.append(indent).append(line);
    out.append(end);
}

// Opens a section at the end of a configuration, a blank line before it. Answers how its lines end.
std::string_view open_at_end(std::string_view name, std::string &text) {
    const std::string_view end = end_of(line_at(text, 0));
    end_line(text, end);
    if (!text.empty() && !trim_blanks(line_around(text, text.size() - 1)).empty()) text.append(end);
    text.append("[").append(name).append("]").append(end);
    return end;
}

}  // namespace

// ---- Reading --------------------------------------------------------------------------------------------

ConfSections::ConfSections(std::string_view text) noexcept {
    for (const std::string_view line : Lines(text)) {
        if (!is_section_line(line)) continue;
        rest_ = text.substr(static_cast<size_t>(line.data() - text.data()));
        return;
    }
}

bool ConfSections::next() {
    if (rest_.empty()) return false;
    section.opening = line_at(rest_, 0);
    size_t size = section.opening.size();
    for (const std::string_view line : Lines(rest_.substr(size))) {
        if (is_section_line(line)) break;
        size += line.size();
    }
    section.text = rest_.substr(0, size);
    rest_.remove_prefix(size);

    const std::string_view line = up_to_nul(section.opening);
    section.name = line.substr(1, std::min(line.rfind(']') - 1, kMostName));
    section.type = ShareSectionTypeGet(section.name.c_str());
    return true;
}

bool is_same_setting(std::string_view key, std::string_view wanted) noexcept {
    if (is_spelled(key, wanted)) return true;
    for (const auto &spellings : kSpellings) {
        if (spellings[0] != wanted) continue;
        return std::any_of(std::begin(spellings), std::end(spellings),
                           [&](std::string_view s) { return !s.empty() && is_spelled(key, s); });
    }
    return false;
}

ConfLine read_conf_line(std::string_view line, std::string_view *key, std::string_view *value) noexcept {
    const std::string_view text = trim_blanks(up_to_nul(line));
    if (text.empty() || is_comment(text)) return ConfLine::kNothing;
    const size_t equals = text.find('=');
    if (equals == text.npos) return ConfLine::kMalformed;
    *key = trim(text.substr(0, equals));
    *value = trim(text.substr(equals + 1));
    return key->empty() ? ConfLine::kMalformed : ConfLine::kPair;
}

std::string plain_path(std::string_view path) {
    std::string plain;
    for (size_t at = 0; at < path.size();) {
        const size_t slash = std::min(path.find('/', at), path.size());
        const std::string_view name = path.substr(at, slash - at);
        if (!name.empty() && name != ".") plain.append("/").append(name);
        at = slash + 1;
    }
    return plain;
}

// ---- Writing --------------------------------------------------------------------------------------------

std::string conf_value(std::string_view text) {
    // A backslash at the end of a line would call in the next one.
    if (trim(text) == text && !text.ends_with('\\')) return std::string(text);
    return std::string("\"").append(text).append("\"");
}

std::string conf_list(std::string_view list) {
    std::string out;
    size_t count = 0;
    for (Items items(list); items.next(); ++count) {
        if (count > 0) out.push_back(',');
        const bool has_blank = items.item.find(' ') != items.item.npos;
        if (has_blank) out.push_back('"');
        out.append(items.item);
        if (has_blank) out.push_back('"');
    }
    return out;
}

void KeyEdits::apply(std::string_view section, std::string &out) const {
    const std::string_view body = section.substr(line_at(section, 0).size());
    std::vector<std::string_view> last(edits_.size());  // by edit: the line that counts
    std::string_view last_pair;
    std::string_view key;
    std::string_view value;
    for (const std::string_view line : Lines(body)) {
        if (read_conf_line(line, &key, &value) != ConfLine::kPair) continue;
        last_pair = line;
        for (size_t i = 0; i < edits_.size(); ++i) {
            if (is_key_of(key, edits_[i].key)) last[i] = line;
        }
    }

    const std::string_view opening = section.substr(0, section.size() - body.size());
    PairForm form;
    form.end = end_of(opening);
    if (!last_pair.empty()) form.take(last_pair);
    const auto add_missing = [&] {
        for (size_t i = 0; i < edits_.size(); ++i) {
            if (!last[i].empty() || edits_[i].kind != kSet) continue;
            end_line(out, form.end);
            form.write(out, edits_[i].key, edits_[i].value);
        }
    };

    out.append(opening);
    if (last_pair.empty()) add_missing();
    for (const std::string_view line : Lines(body)) {
        const bool is_pair = read_conf_line(line, &key, &value) == ConfLine::kPair;
        const Edit *edit = nullptr;
        bool counts = false;
        for (size_t i = 0; is_pair && i < edits_.size(); ++i) {
            if (!is_same_setting(key, edits_[i].key)) continue;
            edit = &edits_[i];
            counts = last[i].data() == line.data();
        }
        if (!edit || (counts && edit->kind == kKeep)) {
            out.append(line);
        } else if (counts && edit->kind == kSet) {
            const std::string_view raw = raw_value(line);
            const auto at = static_cast<size_t>(raw.data() - line.data());
            out.append(line, 0, at).append(edit->value).append(line.substr(at + raw.size()));
        }
        if (line.data() == last_pair.data()) add_missing();
    }
}

void KeyEdits::append(std::string_view name, std::string &text) const {
    PairForm form;
    form.end = open_at_end(name, text);
    for (const Edit &edit : edits_) {
        if (edit.kind == kSet) form.write(text, edit.key, edit.value);
    }
}

void rename_section(std::string_view section, std::string_view name, std::string &out) {
    const std::string_view opening = up_to_nul(line_at(section, 0));
    out.append("[").append(name).append(section.substr(opening.rfind(']')));
}

std::string_view rest_of_section(std::string_view section) noexcept {
    size_t end = 0;   // behind the last key
    size_t rest = 0;  // the first blank line behind it; 0: none
    size_t at = 0;
    for (const std::string_view line : Lines(section)) {
        if (at == 0 || !is_nothing(line)) {
            end = at + line.size();
            rest = 0;
        } else if (rest == 0 && trim_blanks(line).empty()) {
            rest = at + line.size();
        }
        at += line.size();
    }
    return section.substr(rest > end ? rest : section.size());
}

void replace_lines(std::string_view section, std::vector<std::string_view> lines, std::string &out) {
    const std::string_view opening = line_at(section, 0);
    const std::string_view rest = rest_of_section(section);
    const std::string_view body =
        section.substr(opening.size(), section.size() - opening.size() - rest.size());
    std::vector<std::string_view> behind;  // the blank line that ends the body, and the comments that stay
    std::vector<std::string_view> there;
    for (const std::string_view line : Lines(body))
        there.push_back(line);
    const bool has_gap = !there.empty() && trim_blanks(there.back()).empty();
    if (has_gap) behind.push_back(there.back());
    for (const std::string_view line : Lines(rest))
        behind.push_back(line);
    // Lines that were read as the section's own stay where they are.
    for (size_t i = behind.size(); i > 0 && !lines.empty() && trim_blanks(behind[i - 1]) == lines.back(); --i)
        lines.pop_back();

    PairForm form;
    form.end = end_of(opening);
    std::string_view key;
    std::string_view value;
    for (const std::string_view line : there) {
        if (read_conf_line(line, &key, &value) == ConfLine::kPair) form.take(line);
    }
    out.append(opening);
    for (const std::string_view line : lines) {
        end_line(out, form.end);
        const auto same = std::find_if(there.begin(), there.end(),
                                       [&](std::string_view old) { return trim_blanks(old) == line; });
        if (same != there.end()) {
            out.append(*same);
        } else {
            write_line(line, form.indent, form.end, out);
        }
    }
    for (const std::string_view line : behind) {
        end_line(out, form.end);
        out.append(line);
    }
}

void append_lines(std::string_view name, const std::vector<std::string_view> &lines, std::string &text) {
    const std::string_view end = open_at_end(name, text);
    for (const std::string_view line : lines)
        write_line(line, kIndent, end, text);
}

// ---- Exports --------------------------------------------------------------------------------------------

namespace {

bool is_octal(std::string_view text) noexcept {
    return text.size() >= 3 && text[0] >= '0' && text[0] <= '3' &&
           std::all_of(text.begin(), text.begin() + 3, [](char c) { return c >= '0' && c <= '7'; });
}

// The path that a line begins with, and the bytes that it takes there.
std::string exported_path(std::string_view line, size_t *length) {
    std::string path;
    bool quoted = false;
    size_t at = 0;
    for (; at < line.size() && line[at] != '\n'; ++at) {
        const char c = line[at];
        if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && (is_blank(c) || c == '#')) {
            break;
        } else if (c == '\\' && is_octal(line.substr(at + 1))) {
            path.push_back(
                static_cast<char>((line[at + 1] - '0') * 64 + (line[at + 2] - '0') * 8 + line[at + 3] - '0'));
            at += 3;
        } else {
            path.push_back(c);
        }
    }
    *length = at;
    return path;
}

void write_exported(std::string_view path, std::string &out) {
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte != '"' && byte != '#' && byte != '\\' && byte != 0x7f) {
            out.push_back(c);
            continue;
        }
        out.push_back('\\');
        for (const int shift : {6, 3, 0})
            out.push_back(static_cast<char>('0' + ((byte >> shift) & 7)));
    }
}

bool is_continued(std::string_view line) noexcept {
    return without_line_feed(line).ends_with('\\');
}

}  // namespace

void edit_exports(std::string_view text, std::string_view path, std::string_view new_path, std::string &out) {
    bool continues = false;  // the line belongs to the one before
    bool goes = false;
    for (const std::string_view line : Lines(text)) {
        if (!continues) {
            const size_t indent = indent_of(line).size();
            size_t length;
            const std::string found = exported_path(line.substr(indent), &length);
            const bool is_it = length > 0 && plain_path(found) == path;
            goes = is_it && new_path.empty();
            if (is_it && !goes) {
                out.append(line, 0, indent);
                write_exported(new_path, out);
                out.append(line.substr(indent + length));
            }
            if (!is_it) out.append(line);
        } else if (!goes) {
            out.append(line);
        }
        continues = is_continued(line);
    }
}

}  // namespace morv
