#include <morvsdk/volume.h>

#include <string_view>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/device_name.h"

using namespace morv;

namespace {

// "/volume2", "/volume2.snap_5": the number in front of the dot.
int number_of(std::string_view volume) noexcept {
    constexpr std::string_view kSnapshot = ".snap_";
    const size_t dot = volume.find('.');
    const std::string_view behind = dot == volume.npos ? "" : volume.substr(dot);
    const std::string_view name = volume.substr(0, dot);
    int32_t number, snapshot;
    if (!number_behind(name, "/volume", number)) return -1;
    return behind.empty() || number_behind(behind, kSnapshot, snapshot) ? number : -1;
}

}  // namespace

extern "C" int MORVVolIDParse(const char *path) noexcept {
    constexpr size_t kShortest = 8, kLongest = 485;
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    const std::string_view text = path ? path : "";
    if (text.size() < kShortest || text.size() > kLongest || !text.starts_with("/volume"))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const size_t slash = text.find('/', 1);
    const bool leads_in = slash != text.npos && text.find_first_not_of(kBlanks, slash + 1) != text.npos;
    const int number = leads_in ? number_of(text.substr(0, slash)) : -1;
    if (number >= 0) return number;
    return MORV_LOG_FAIL(LOG_DEBUG, ERR_INVALID_PATH, -1, "No path in a volume: %s", path);
}
