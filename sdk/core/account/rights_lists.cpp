#include "core/account/rights_lists.h"

#include <algorithm>

#include "core/account/named_lines.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr std::string_view kLetIn = "valid users";
constexpr std::string_view kKeys[] = {"invalid users", "valid users", "admin users", "write list",
                                      "read list"};

// Keys count regardless of letter case and blanks.
bool equals_lower(std::string_view text, std::string_view lower) noexcept {
    size_t at = 0;
    for (const char c : text) {
        if (is_blank(c)) continue;
        while (at < lower.size() && lower[at] == ' ')
            ++at;
        if (at == lower.size() ||
            (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lower[at++])
            return false;
    }
    return at == lower.size();
}

std::string_view key_of(std::string_view line) noexcept {
    return trim_blanks(line.substr(0, line.find('=')));
}

bool is_key_of(std::string_view line, std::string_view lower) noexcept {
    return equals_lower(key_of(line), lower);
}

}  // namespace

std::string_view rights_list_of(std::string_view line) noexcept {
    const std::string_view text = trim_blanks(line);
    if (is_comment(text)) return {};
    const size_t equals = text.find('=');
    if (equals == text.npos) return {};
    const std::string_view key = trim_blanks(text.substr(0, equals));
    const bool is_list = std::any_of(std::begin(kKeys), std::end(kKeys),
                                     [&](std::string_view k) { return equals_lower(key, k); });
    return is_list ? trim_blanks(text.substr(equals + 1)) : std::string_view();
}

void edit_rights(std::string_view text, const Renames &renames, std::string &out) {
    size_t done = 0;
    std::string list;
    std::string next;
    for (std::string_view line : Lines(text)) {
        const std::string_view value = rights_list_of(line);
        if (value.empty()) continue;
        list.assign(value);
        bool changed = false;
        for (const auto &[key, name] : renames) {
            next.clear();
            if (!edit_list(list, key, name, next, Quotes::kBlanks)) continue;
            changed = true;
            list.swap(next);
        }
        // An empty list of those who are let in would let everybody in.
        if (!changed || (trim_blanks(list).empty() && is_key_of(line, kLetIn))) continue;
        const auto at = static_cast<size_t>(value.data() - text.data());
        out.append(text, done, at - done).append(list);
        done = at + value.size();
    }
    out.append(text, done);
}

ListSearch::ListSearch(const Renames &names) : names_(names) {
    for (const auto &[key, name] : names)
        filter_.add(key);
}

bool ListSearch::finds_one_in(std::string_view list) {
    for (Items items(list); items.next();) {
        if (filter_.may_have(items.item) && upper_name(items.item, key_) && names_.contains(key_))
            return true;
    }
    return false;
}

bool names_any(std::string_view text, const Renames &names) {
    ListSearch search(names);
    for (std::string_view line : Lines(text)) {
        if (search.finds_one_in(rights_list_of(line))) return true;
    }
    return false;
}

}  // namespace morv
