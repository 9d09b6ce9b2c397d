#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <string>

#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/file/sys_path.h"
#include "core/system/time_zone.h"
#include "sysbkp/setting_block.h"

using namespace morv;

namespace {

// Places of the items that are no settings.
constexpr size_t kTime = 0, kZone = 5;

constexpr time_t kNoClockBefore = 1767225600;  // 2026/01/01

// The name of a zone, which may be given as the path of its file.
std::string_view zone_name(std::string_view text) noexcept {
    constexpr std::string_view kFolder = "/usr/share/zoneinfo/";
    const std::string_view path = text.substr(text.starts_with(':'));
    return path.starts_with(kFolder) ? path.substr(kFolder.size()) : text;
}

// Whoever asks for the local time opens the file that a zone names: only those of the zones' folder are meant.
bool is_zone(std::string_view text) noexcept {
    const std::string_view name = text.substr(text.starts_with(':'));
    if (name.starts_with('/') || name.find("..") != name.npos) return false;
    return text.size() <= kTimeZoneMost && std::none_of(text.begin(), text.end(), [](char c) {
               return static_cast<unsigned char>(c) < ' ' || c == 0x7F;
           });
}

// The time zone of this appliance, "" for none.
std::string current_zone() {
    char zone[kTimeZoneMost + 1];
    if (!read_time_zone(zone)) return {};
    const std::string_view name = zone_name(zone);
    if (is_zone(name)) return std::string(name);
    tell_note("the time zone %s is no name of a zone, and is left out", zone);
    return {};
}

std::string time_text(const tm &local) {
    char text[64];
    snprintf(text, sizeof text, "%4d/%02d/%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
             local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return text;
}

// Takes exactly "2011/05/04 12:34:56", and only a date that there is.
bool parse_time(std::string_view text, tm &local) noexcept {
    constexpr std::string_view kForm = "dddd/dd/dd dd:dd:dd";
    int numbers[6] = {};
    size_t part = 0;
    if (text.size() != kForm.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (kForm[i] != 'd') {
            if (text[i] != kForm[i]) return false;
            ++part;
        } else {
            if (text[i] < '0' || text[i] > '9') return false;
            numbers[part] = numbers[part] * 10 + (text[i] - '0');
        }
    }
    const auto [year, month, day, hour, minute, second] = numbers;
    const bool is_leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int february = is_leap ? 29 : 28;
    const int days[] = {31, february, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1 || day > days[month - 1] || hour > 23 || minute > 59 ||
        second > 60)
        return false;
    local = {};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return true;
}

int gather(ItemWriter &items) {
    const std::span<const FieldInfo> fields = block_info(MORV_SYSBKP_TIME)->head;
    std::vector<SettingValue> values;
    if (gather_settings(fields, values) != 0) return -1;
    take_time_zone();
    const time_t now = time(nullptr);
    tm local;
    if (!localtime_r(&now, &local)) {
        tell_problem("the time cannot be told");
        return -1;
    }
    auto value = values.begin();
    for (size_t i = 0; i < fields.size(); ++i) {
        if (i == kTime) {
            items.put_string(time_text(local));
        } else if (i == kZone) {
            items.put_string(current_zone());
        } else {
            put_setting(items, fields[i], *value++);
        }
    }
    return 0;
}

// "/etc/TZ" with another zone, up to the renaming.
class ZoneChange {
  public:
    // Answers an error code. "" leaves the zone as it is, and so does the one that it has.
    int prepare(std::string_view zone) {
        if (zone.empty()) return 0;
        const std::string line = std::string(zone) + "\n";
        if (int code = edit_.open(SysPath("/etc/TZ").c_str(), FileEdit::kMayCreate, ERR_READ_FAILED))
            return code;
        if (edit_.exists() && edit_.text() == line) return 0;
        is_needed_ = true;
        return edit_.prepare(file_, line, FileEdit::kOwn);
    }
    int commit() noexcept { return is_needed_ ? file_.rename_over() : 0; }

  private:
    FileEdit edit_;
    ReplacementFile file_{edit_.target()};
    bool is_needed_ = false;
};

// A clock that is behind the time at which there was this library has lost its battery: the time of a backup is nearer.
// Any other is left alone, whatever a file says.
void mend_clock(tm local) noexcept {
    if (has_system_root()) return;
    take_time_zone();
    const time_t stored = mktime(&local);
    const time_t now = time(nullptr);
    if (now >= kNoClockBefore || now >= stored || stored > INT32_MAX) return;
    const timespec to = {stored, 0};
    char text[64];
    strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &local);
    if (clock_settime(CLOCK_REALTIME, &to) == 0)
        tell_note("the clock was behind the time of the backup, and is set to %s", text);
    else
        tell_note("the clock is behind the time of the backup, %s, and cannot be set: %s", text,
                  strerror(errno));
}

int check(const std::vector<FieldValue> &found, tm &local) noexcept {
    int result = 0;
    if (!parse_time(found[kTime].text, local)) {
        tell_problem("time: \"%s\" is no time", found[kTime].text);
        result = -1;
    }
    if (!is_zone(zone_name(found[kZone].text))) {
        tell_problem("timezone: no name of a zone, or more than %zu bytes", kTimeZoneMost);
        result = -1;
    }
    return result;
}

int apply(ItemReader &items) {
    const std::span<const FieldInfo> fields = block_info(MORV_SYSBKP_TIME)->head;
    const std::vector<FieldValue> found = take_fields(items, fields);
    if (check_items(items) != 0) return -1;
    tm local;
    std::vector<SettingValue> values;
    const int checked = check(found, local);
    if (check_settings(fields, found, values) != 0 || checked != 0) return -1;
    ZoneChange zone;
    int code = zone.prepare(zone_name(found[kZone].text));
    if (code == 0) {
        std::vector<SettingValue> before;
        if (gather_settings(fields, before) != 0 || apply_settings(values) != 0) return -1;
        code = zone.commit();
        if (code) apply_settings(before);
    }
    if (code) {
        tell_problem("the time zone cannot be written: %s", code_text(code));
        return -1;
    }
    const bool runs_ntp = std::any_of(values.begin(), values.end(), [](const SettingValue &value) {
        return value.setting == MORV_SETTING_RUN_NTP && value.number() == 1;
    });
    if (!runs_ntp) mend_clock(local);
    return 0;
}

}  // namespace

extern "C" int MORVSysbkpTimeExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_TIME, "time", gather);
}

extern "C" int MORVSysbkpTimeImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_TIME, version, apply);
}
