#include "core/text/hosts_text.h"

#include <algorithm>
#include <vector>

#include "core/text/case.h"
#include "core/text/ipv4.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

struct HostLine {
    uint32_t address = 0;  // 0: no line of an IPv4 address that others reach
    std::vector<std::string_view> names;
    std::string_view comment;  // with its "#"
};

// The next word of `text`, which then begins behind it; empty at the end.
std::string_view take_word(std::string_view &text) noexcept {
    const auto begin = std::find_if_not(text.begin(), text.end(), is_blank);
    const auto end = std::find_if(begin, text.end(), is_blank);
    const std::string_view word(begin, end);
    text = std::string_view(end, text.end());
    return word;
}

HostLine parse(std::string_view whole) {
    HostLine line;
    std::string_view text = up_to_nul(whole);
    const size_t hash = std::min(text.find('#'), text.size());
    line.comment = trim_blanks(text.substr(hash));
    text = text.substr(0, hash);
    constexpr uint32_t kLoopback = 127;
    if (!parse_dotted(take_word(text), line.address) || line.address >> 24 == kLoopback) line.address = 0;
    for (;;) {
        const std::string_view word = take_word(text);
        if (word.empty()) return line;
        line.names.push_back(word);
    }
}

bool has_name(const HostLine &line, std::string_view name) noexcept {
    return !name.empty() && std::any_of(line.names.begin(), line.names.end(),
                                        [name](std::string_view other) { return ascii_equal(name, other); });
}

bool is_one_of(std::span<const uint32_t> own, uint32_t address) noexcept {
    return std::find(own.begin(), own.end(), address) != own.end();
}

// Whether the line is the host's own, and not one of another that has the name besides: it is the first of
// its names, "nas" or "nas.lan".
bool is_named(const HostLine &line, std::string_view name) noexcept {
    if (line.names.empty() || name.empty()) return false;
    const std::string_view first = line.names.front();
    return ascii_equal(first.substr(0, first.find('.')), name);
}

// Where the own line begins; npos when there is none.
size_t find_own(std::string_view hosts, std::string_view old_name, std::span<const uint32_t> own) {
    size_t by_name = hosts.npos, by_address = hosts.npos;
    for (const std::string_view text : Lines(hosts)) {
        const HostLine line = parse(text);
        if (line.address == 0) continue;
        const size_t at = size_t(text.data() - hosts.data());
        // Who looks the name up gets the first of its lines.
        if (is_named(line, old_name)) return at;
        const bool addressed = is_one_of(own, line.address);
        if (addressed && by_name == hosts.npos && has_name(line, old_name)) by_name = at;
        if (addressed && by_address == hosts.npos) by_address = at;
    }
    return by_name == hosts.npos ? by_address : by_name;
}

void append_line(std::string &out, uint32_t address, std::span<const std::string_view> names,
                 std::string_view comment) {
    char text[16];
    out.append(text, write_dotted(text, address));
    char gap = '\t';
    for (const std::string_view name : names) {
        out += gap;
        out += name;
        gap = ' ';
    }
    if (!comment.empty()) out.append("\t").append(comment);
    out += '\n';
}

}  // namespace

void set_own_host(std::string_view hosts, std::string_view old_name, std::string_view name,
                  std::span<const uint32_t> own, std::string &out) {
    const size_t at = find_own(hosts, old_name, own);
    if (at == hosts.npos) {
        out += hosts;
        if (own.empty()) return;
        if (!hosts.empty() && !hosts.ends_with('\n')) out += '\n';
        append_line(out, own.front(), std::span(&name, 1), {});
        return;
    }
    const std::string_view text = line_at(hosts, at);
    HostLine line = parse(text);
    const uint32_t address = own.empty() || is_one_of(own, line.address) ? line.address : own.front();
    out += hosts.substr(0, at);
    if (address == line.address && has_name(line, name) &&
        (ascii_equal(name, old_name) || !has_name(line, old_name))) {
        out += text;
    } else {
        // The new name in the place of the old one, or in front of names that are others.
        const auto is_ours = [&](std::string_view other) {
            return ascii_equal(other, name) || ascii_equal(other, old_name);
        };
        const auto first = std::find_if(line.names.begin(), line.names.end(), is_ours);
        const size_t place = first == line.names.end() ? 0 : size_t(first - line.names.begin());
        line.names.erase(std::remove_if(line.names.begin(), line.names.end(), is_ours), line.names.end());
        line.names.insert(line.names.begin() + ptrdiff_t(place), name);
        append_line(out, address, line.names, line.comment);
    }
    out += hosts.substr(at + text.size());
}

}  // namespace morv
