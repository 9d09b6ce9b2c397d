#include "morvctl/pairs.h"

#include <set>

#include "morvctl/failure.h"

namespace morvctl {

std::string_view trim_blanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t start = text.find_first_not_of(kBlanks);
    if (start == text.npos) return {};
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

std::string_view trim(std::string_view text) {
    text = trim_blanks(text);
    if (text.size() > 1 && text.front() == '"' && text.back() == '"') text = text.substr(1, text.size() - 2);
    return text;
}

void check_one_line(std::string_view what, std::string_view text) {
    if (text.find('\n') != text.npos) refuse(std::string(what) + " holds a line feed: " + escape(text));
}

void check_not_empty(std::string_view key) {
    if (key.empty()) refuse("a key is empty");
}

void check_key(std::string_view key) {
    const auto wrong = [&](const char *why) { refuse("the key '" + escape(key) + "' " + why); };
    check_not_empty(key);
    check_one_line("a key", key);
    if (key[0] == '#' || key[0] == ';') wrong("would make the line a comment");
    if (key.find('=') != key.npos) wrong("holds a '='");
    if (trim(key) != key) wrong("could not be read back: blanks or quotes around it are no part of a key");
}

Pairs parse_pairs(const std::vector<std::string> &arguments) {
    Pairs pairs;
    std::set<std::string> seen;
    for (const std::string &argument : arguments) {
        const size_t sign = argument.find('=');
        if (sign == argument.npos) {
            throw Failure(Exit::kUsage, "'" + escape(argument) + "' is not of the form KEY=VALUE");
        }
        const std::string key = argument.substr(0, sign);
        const std::string value = argument.substr(sign + 1);
        check_key(key);
        check_one_line("the value of " + key, value);
        if (!seen.insert(key).second) throw Failure(Exit::kUsage, "the key " + key + " is given twice");
        pairs.emplace_back(key, value);
    }
    return pairs;
}

}  // namespace morvctl
