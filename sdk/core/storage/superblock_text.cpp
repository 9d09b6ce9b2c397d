#include "core/storage/superblock_text.h"

#include <string.h>

#include "core/storage/device_name.h"
#include "core/text/field_text.h"
#include "core/text/lines.h"

namespace morv {

namespace {

constexpr size_t kLongestLine = 1024;

bool copy_path(RAID_SB &sb, std::string_view path) noexcept {
    int32_t number;
    constexpr std::string_view kFolder = "/dev/md/";
    if (!number_behind(path, kFolder, number)) return copy_text(sb.szPath, path);
    constexpr std::string_view kArray = "/dev/md";
    if (!copy_text(std::span(sb.szPath).subspan(kArray.size()), path.substr(kFolder.size()))) return false;
    memcpy(sb.szPath, kArray.data(), kArray.size());
    return true;
}

int32_t type_of(std::string_view level) noexcept {
    if (level == "raid1") return RAID_TYPE_RAID1;
    if (level == "raid0") return RAID_TYPE_RAID0;
    if (level == "raid6") return RAID_TYPE_RAID6;
    if (level == "linear") return RAID_TYPE_LINEAR;
    return RAID_TYPE_RAID5;
}

// What stands behind a key; false when the word has another one.
bool value_of(std::string_view word, std::string_view key, std::string_view &value) noexcept {
    if (!word.starts_with(key)) return false;
    value = word.substr(key.size());
    return true;
}

}  // namespace

SuperblockText parse_superblock(std::string_view output) noexcept {
    SuperblockText found;
    std::string_view line = without_line_feed(line_at(output, 0));
    if (line.size() > kLongestLine) return found;
    while (!line.empty()) {
        const size_t end = line.find_first_of(" \t\r");
        const std::string_view word = line.substr(0, end);
        line.remove_prefix(end == line.npos ? line.size() : end + 1);
        std::string_view value;
        if (word.starts_with("/dev/md")) {
            found.has_path |= copy_path(found.sb, word);
        } else if (value_of(word, "UUID=", value)) {
            found.has_uuid |= !value.empty() && copy_text(found.sb.szUUID, value);
        } else if (value_of(word, "level=", value)) {
            found.sb.type = type_of(value);
            found.has_level = true;
        } else if (value_of(word, "num-devices=", value)) {
            found.has_devices |= number_behind(value, "", found.sb.devices);
        }
    }
    return found;
}

}  // namespace morv
