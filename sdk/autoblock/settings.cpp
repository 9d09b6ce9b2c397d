#include "autoblock/settings.h"

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <string_view>

#include "core/base/bytes.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/file_stamp.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/text/fields.h"
#include "core/text/ipv4.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

// Addresses from first to last, as numbers.
struct Range {
    uint32_t first, last;
};

struct {
    bool good;  // the rest holds for a file with this stamp
    FileStamp stamp;
    MORV_AUTOBLOCK_CONF conf;
    Range *allowed;  // in order, none touches another
    size_t allowed_count;
} cache;

uint32_t number_of(uint32_t address) noexcept {
    return load_be32(&address);
}

bool parse_range(std::string_view text, Range &range) noexcept {
    const size_t cut = text.find_first_of("-/");
    uint32_t address;
    if (!parse_ipv4(trim_blanks(text.substr(0, cut)), address)) return false;
    range.first = range.last = number_of(address);
    if (cut == text.npos) return true;
    const std::string_view rest = trim_blanks(text.substr(cut + 1));
    if (text[cut] == '-') {
        if (!parse_ipv4(rest, address)) return false;
        range.last = number_of(address);
        return range.first <= range.last;
    }
    if (rest.empty() || rest.size() > 2 || rest.find_first_not_of("0123456789") != rest.npos) return false;
    const auto bits = uint32_t(leading_number(rest));
    if (bits > 32) return false;
    const uint32_t hosts = bits == 0 ? ~0U : (uint32_t{1} << (32 - bits)) - 1;
    range.first &= ~hosts;
    range.last = range.first | hosts;
    return true;
}

// Puts ranges in order and makes one of those that overlap. Answers how many are left.
size_t merge_ranges(Range *ranges, size_t count) noexcept {
    std::sort(ranges, ranges + count, [](const Range &a, const Range &b) { return a.first < b.first; });
    size_t left = 0;
    for (size_t i = 0; i < count; ++i) {
        if (left > 0 && ranges[i].first <= ranges[left - 1].last)
            ranges[left - 1].last = std::max(ranges[left - 1].last, ranges[i].last);
        else
            ranges[left++] = ranges[i];
    }
    return left;
}

// Reads a list of ranges. What is not understood is passed over: the rest is to be kept from being blocked.
int parse_ranges(std::string_view text, MallocPtr<Range> &ranges, size_t &count) noexcept {
    const size_t most = size_t(std::count(text.begin(), text.end(), ',')) + 1;
    ranges.reset(static_cast<Range *>(calloc(most, sizeof(Range))));
    if (!ranges) return ERR_OUT_OF_MEMORY;
    size_t found = 0;
    while (!text.empty()) {
        const size_t end = text.find(',');
        const std::string_view entry = trim_blanks(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        if (entry.empty()) continue;
        if (parse_range(entry, ranges.get()[found]))
            ++found;
        else
            MORV_LOG(LOG_ERR, "no address or range in [%s]: [%.*s]", kAllowKey,
                     int(std::min<size_t>(entry.size(), 80)), entry.data());
    }
    count = merge_ranges(ranges.get(), found);
    return 0;
}

int read_settings(const char *path) noexcept {
    FileText file;
    if (int code = file.load(path)) return code;
    const std::string_view text = file.view();
    MallocPtr<Range> allowed;
    size_t count = 0;
    if (int code = parse_ranges(find_key_value(text, kAllowKey), allowed, count)) return code;
    free(cache.allowed);
    cache.allowed = allowed.release();
    cache.allowed_count = count;
    cache.conf = make_conf([text](const char *key) { return find_key_value(text, key); });
    return 0;
}

}  // namespace

int32_t setting_number(std::string_view value) noexcept {
    return int32_t(std::min<int64_t>(leading_number(value), INT32_MAX));
}

int BlockSettings::load() noexcept {
    const SysPath path(kSettingsFile);
    struct stat st;
    if (stat(path.c_str(), &st) != 0) {
        cache.good = false;
        cache.conf = {};
        cache.allowed_count = 0;
        return errno == ENOENT ? 0 : ERR_OPEN_FAILED;
    }
    const FileStamp stamp(st);
    if (cache.good && cache.stamp == stamp) return 0;
    cache.good = false;
    if (int code = read_settings(path.c_str())) return code;
    cache.stamp = stamp;
    cache.good = stamp.is_settled();
    return 0;
}

const MORV_AUTOBLOCK_CONF &BlockSettings::conf() const noexcept {
    return cache.conf;
}

bool BlockSettings::allows(uint32_t address) const noexcept {
    const uint32_t number = number_of(address);
    const Range *const first = cache.allowed, *const end = first + cache.allowed_count;
    const Range *const behind = std::upper_bound(
        first, end, number, [](uint32_t wanted, const Range &range) { return wanted < range.first; });
    return behind != first && number <= behind[-1].last;
}

}  // namespace morv
