#include "core/storage/fstab.h"

#include "core/system/mounts.h"
#include "core/text/lines.h"

namespace morv {

namespace {

std::string_view take_word(std::string_view &line) noexcept {
    constexpr std::string_view kBlanks = " \t\r\n";
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
    line.remove_prefix(word.size());
    return word;
}

std::string_view without_end_slashes(std::string_view path) noexcept {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

bool is_of(std::string_view line, std::string_view point) {
    if (take_word(line).starts_with('#')) return false;
    std::string word(take_word(line));
    return without_end_slashes(decode_mount_field(word)) == without_end_slashes(point);
}

}  // namespace

void remove_mount_point(std::string_view text, std::string_view point, std::string &out) {
    for (const std::string_view line : Lines(text)) {
        if (!is_of(line, point)) out.append(line);
    }
}

}  // namespace morv
