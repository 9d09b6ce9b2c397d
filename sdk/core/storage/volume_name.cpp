#include "core/storage/volume_name.h"

#include <stdint.h>
#include <stdio.h>

#include <algorithm>

#include "core/storage/device_name.h"
#include "core/text/field_text.h"
#include "core/text/fields.h"

namespace morv {

namespace {

// The longer prefixes first: all of them begin with the last one.
constexpr struct {
    std::string_view prefix;
    int32_t location;
    bool digits_only;
} kLocations[] = {
    {"/volumeX", VOLUME_EXPANSION, true},
    {"/volumeUSB", VOLUME_USB, false},
    {"/volumeSATA", VOLUME_SATA, false},
    {"/volume", VOLUME_INTERNAL, true},
};

// Arrays 0 and 1 are the system's, and those above 100 the enclosures': no internal volume may be taken to
// lie on one of them.
constexpr struct {
    int option;
    std::string_view from;
    int32_t first, last;
    const char *to;
    int32_t add;
} kMappings[] = {
    {VOLUME_TO_VG, "/volume", 0, INT32_MAX, "/dev/vg", 0},
    {VOLUME_TO_RAID, "/volume", 1, 99, "/dev/md", 1},
    {VOLUME_TO_RAID, "/volumeX", 1, INT32_MAX - 100, "/dev/md", 100},
    {RAID_TO_VOLUME, "/dev/md", 2, 100, "/volume", -1},
    {RAID_TO_VOLUME, "/dev/md", 101, INT32_MAX, "/volumeX", -100},
    {VG_TO_VOLUME, "/dev/vg", 0, INT32_MAX, "/volume", 0},
};

// A number as it is written without need: "07" is another name.
bool exact_number(std::string_view path, std::string_view prefix, int32_t &number) noexcept {
    return number_behind(path, prefix, number) &&
           (path[prefix.size()] != '0' || path.size() == prefix.size() + 1);
}

}  // namespace

bool parse_volume(std::string_view path, VOLUME_ID &id) noexcept {
    for (const auto &[prefix, location, digits_only] : kLocations) {
        if (!path.starts_with(prefix)) continue;
        const std::string_view rest = path.substr(prefix.size());
        const bool has_digits =
            std::all_of(rest.begin(), rest.end(), [](char c) { return c >= '0' && c <= '9'; });
        const int64_t number = leading_number(rest);
        if ((digits_only && !has_digits) || number > INT32_MAX) return false;
        id = {static_cast<int32_t>(number), location};
        return true;
    }
    return false;
}

bool map_path(std::string_view path, int option, MappedPath &mapped) noexcept {
    for (const auto &mapping : kMappings) {
        int32_t number;
        if (mapping.option != option || !exact_number(path, mapping.from, number)) continue;
        if (number < mapping.first || number > mapping.last) continue;
        snprintf(mapped, sizeof mapped, "%s%d", mapping.to, number + mapping.add);
        return true;
    }
    return false;
}

bool group_of_device(std::string_view device, MappedPath &group) noexcept {
    constexpr std::string_view kFolder = "/dev/", kMapper = "/dev/mapper/";
    // The mapper doubles the dashes of names: the single one stands between group and volume.
    const bool is_mapped = device.starts_with(kMapper);
    const std::string_view folder = is_mapped ? kMapper : kFolder;
    if (!device.starts_with(folder)) return false;
    const std::string_view names = device.substr(folder.size());
    const size_t end = names.find(is_mapped ? '-' : '/');
    if (end == names.npos) return false;
    const std::string_view name = names.substr(0, end), volume = names.substr(end + 1);
    int32_t number;
    if (!number_behind(name, "vg", number) || volume.empty() || volume.find('/') != volume.npos ||
        (is_mapped && volume.front() == '-')) {
        return false;
    }
    memcpy(group, kFolder.data(), kFolder.size());
    return copy_text({group + kFolder.size(), sizeof group - kFolder.size()}, name);
}

}  // namespace morv
