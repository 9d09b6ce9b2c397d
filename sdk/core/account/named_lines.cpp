#include "core/account/named_lines.h"

#include <algorithm>
#include <charconv>

#include "core/text/case.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

size_t count_separators(std::string_view line, size_t enough) noexcept {
    size_t count = 0;
    for (size_t at = line.find(':'); at != line.npos && count < enough; at = line.find(':', at + 1))
        ++count;
    return count;
}

void add_line(std::string &out, std::string_view line) {
    if (!out.empty() && out.back() != '\n') out.push_back('\n');
    out.append(line).push_back('\n');
}

// "#$WORD$"
std::string marker_of(std::string_view word) {
    return std::string("#$").append(word).append("$");
}

}  // namespace

bool upper_name(std::string_view name, std::string &key) {
    key.assign(name);
    bool ascii = true;
    for (char &c : key) {
        ascii &= static_cast<signed char>(c) > 0;
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    if (ascii) return true;
    const std::string source(name);
    if (source.find('\0') != source.npos) return false;
    const int64_t length = upper_length(source.c_str());
    if (length < 0) return false;
    key.resize(static_cast<size_t>(length));
    upper_write(source.c_str(), key.data());
    return true;
}

void KeyFilter::add(std::string_view key) noexcept {
    if (!key.empty() && static_cast<signed char>(key[0]) >= 0) first_.set(static_cast<size_t>(key[0]));
}

bool KeyFilter::may_have(std::string_view name) const noexcept {
    if (name.empty() || static_cast<signed char>(name[0]) < 0) return true;
    const char c = name[0];
    return first_.test(static_cast<size_t>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c));
}

bool is_named_line(std::string_view line) noexcept {
    if (line.empty() || line[0] == '#' || line[0] == '+' || line[0] == '-' || line[0] == ':') return false;
    return first_field(line).find('\0') == line.npos;
}

bool is_system_line(std::string_view line) noexcept {
    return is_named_line(line) && count_separators(line, 3) == 3;
}

bool is_line_of(std::string_view key, std::string_view line) {
    std::string name;
    return line.find_first_of(std::string_view("\n\0", 2)) == line.npos &&
           upper_name(first_field(line), name) && name == key;
}

LinesByName index_lines(std::string_view text, bool (*is_line)(std::string_view)) {
    LinesByName lines;
    std::string key;
    for (std::string_view whole : Lines(text)) {
        const std::string_view line = without_line_feed(whole);
        if (is_line(line) && upper_name(first_field(line), key)) lines[key] = line;
    }
    return lines;
}

void LineEdits::enter(std::string_view key, Edit edit) {
    edits_[std::string(key)] = edit;
    keys_.add(key);
}

void LineEdits::put(std::string_view key, std::string_view line) {
    enter(key, {static_cast<int>(lines_.size()), false, false});
    lines_.emplace_back(line);
}

void LineEdits::rename(std::string_view old_key, std::string_view key, std::string_view line) {
    drop(key);
    enter(old_key, {static_cast<int>(lines_.size()), true, false});
    lines_.emplace_back(line);
}

void LineEdits::keep(std::string_view key) {
    enter(key, {-1, false, true});
}

void LineEdits::drop(std::string_view key) {
    enter(key, {-1, true, false});
}

void LineEdits::apply(std::string_view text, bool (*is_line)(std::string_view), std::string &out) const {
    struct Hit {
        size_t at;
        size_t length;
        Edit edit;
    };
    std::vector<Hit> hits;
    std::vector<size_t> last(lines_.size(), text.npos);  // by line: the hit that it goes to
    std::string key;
    for (std::string_view whole : Lines(text)) {
        const std::string_view line = without_line_feed(whole);
        const std::string_view name = first_field(line);
        if (others_ == kStay && !keys_.may_have(name)) continue;
        if (!is_line(line) || !upper_name(name, key)) continue;
        const auto found = edits_.find(key);
        Edit edit;
        if (found != edits_.end()) {
            edit = found->second;
            if (edit.stays) continue;
            if (edit.line >= 0) last[static_cast<size_t>(edit.line)] = hits.size();
        } else if (others_ == kStay) {
            continue;
        } else {
            edit.all = true;
        }
        hits.push_back({static_cast<size_t>(whole.data() - text.data()), whole.size(), edit});
    }

    size_t done = 0;
    for (size_t i = 0; i < hits.size(); ++i) {
        const Hit &hit = hits[i];
        out.append(text, done, hit.at - done);
        done = hit.at + hit.length;
        const bool has_line = hit.edit.line >= 0;
        if (has_line && last[static_cast<size_t>(hit.edit.line)] == i) {
            add_line(out, lines_[static_cast<size_t>(hit.edit.line)]);
        } else if (has_line && !hit.edit.all) {
            out.append(text, hit.at, hit.length);
        }
    }
    out.append(text, done);
    for (size_t i = 0; i < lines_.size(); ++i) {
        if (last[i] == text.npos) add_line(out, lines_[i]);
    }
}

// Quotes may stand around one item or around the list.
static std::string_view without_quotes(std::string_view item) noexcept {
    if (item.starts_with('"')) item.remove_prefix(1);
    if (item.ends_with('"')) item.remove_suffix(1);
    return trim_blanks(item);
}

bool Items::next() noexcept {
    while (!rest_.empty()) {
        const size_t comma = rest_.find(',');
        item = without_quotes(trim_blanks(rest_.substr(0, comma)));
        rest_ = comma == rest_.npos ? std::string_view() : rest_.substr(comma + 1);
        if (!item.empty()) return true;
    }
    return false;
}

bool edit_list(std::string_view list, std::string_view key, std::string_view name, std::string &out,
               Quotes quotes) {
    bool found = false;
    bool first = true;
    std::string upper;
    for (size_t from = 0; from <= list.size();) {
        const size_t comma = std::min(list.find(',', from), list.size());
        const std::string_view piece = list.substr(from, comma - from);
        const std::string_view whole = trim_blanks(piece);
        const std::string_view item = without_quotes(whole);
        from = comma + 1;
        const bool is_it = !item.empty() && upper_name(item, upper) && upper == key;
        found |= is_it;
        if (is_it && name.empty()) continue;
        if (!first) out.push_back(',');
        first = false;
        if (!is_it) {
            out.append(piece);
            continue;
        }
        const auto before = static_cast<size_t>(item.data() - piece.data());
        const bool adds = quotes == Quotes::kBlanks && item == whole && name.find(' ') != name.npos;
        const std::string_view quote = adds ? "\"" : "";
        out.append(piece, 0, before).append(quote).append(name).append(quote);
        out.append(piece, before + item.size());
    }
    return found;
}

int find_marker(std::string_view text, std::string_view word, int least, int most) noexcept {
    for (size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) {
        if (at < 2 || text.substr(at - 2, 2) != "#$") continue;
        const std::string_view rest = text.substr(at + word.size());
        if (rest.empty() || rest[0] != '$') continue;
        int number;
        const auto [end, error] = std::from_chars(rest.data() + 1, rest.data() + rest.size(), number);
        if (error != std::errc() || end == rest.data() + rest.size() || *end != '$') continue;
        return number >= least && number <= most ? number : -1;
    }
    return -1;
}

bool set_marker(std::string_view text, std::string_view word, int number, std::string &out) {
    const std::string marker = marker_of(word);
    const std::string filled = marker + std::to_string(number) + "$";
    const size_t at = text.find(marker);
    if (at == text.npos) {
        out.append(text);
        add_line(out, filled);
        return false;
    }
    // Not the whole line: it may be somebody's.
    size_t end = std::min(text.find_first_not_of("0123456789", at + marker.size()), text.size());
    if (end < text.size() && text[end] == '$') ++end;
    out.append(text, 0, at).append(filled).append(text, end);
    return is_named_line(line_around(text, at));
}

}  // namespace morv
