#include "log/event_texts.h"

#include <morvsdk/file.h>
#include <morvsdk/internal/hash.h>
#include <morvsdk/log.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <charconv>
#include <iterator>

#include "core/base/bytes.h"
#include "core/base/kept_error.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/store/ring.h"
#include "core/text/field_text.h"
#include "core/text/list_guard.h"
#include "core/text/name_rule.h"
#include "core/text/sections.h"

namespace morv {

// The texts by the number of their event.
static MLIBSZHASH *gpshEvent;

namespace {

constexpr uint32_t kTypeTexts = 0x11000000;

using Key = char[16];

void write_key(uint32_t event, Key &key) noexcept {
    snprintf(key, sizeof key, "%lX", static_cast<unsigned long>(event));
}

// A language is a name, and not the way to another file.
bool is_language(std::string_view language) noexcept {
    return language.size() < 32 && is_plain_word(language);
}

using TextsPath = char[96];

void write_texts_path(const char *language, TextsPath &path) noexcept {
    snprintf(path, sizeof path, "/usr/morv/morvsdk/texts/%s/events", language);
}

bool has_section(const SysPath &path, const char *section) noexcept {
    FileText file;
    return file.load(path.c_str()) == 0 && !find_section_line(file.view(), section).empty();
}

// Adds the texts of a section to a hash.
void read_texts(uint32_t event, const char *language, MLIBSZHASH **texts) noexcept {
    Key section;
    write_key(event & 0xFFF00000, section);
    TextsPath file;
    write_texts_path(language, file);
    const SysPath path(file);
    const KeptError error;
    const int before = MLIBSzHashGetLength(*texts);
    const int after = MLIBFileGetSection(path.c_str(), section, texts);
    // Blank lines between sections are an error to the reader of sections, and nothing to this one.
    error.restore();
    if (after > before) return;
    if (!has_section(path, section)) syslog(LOG_ERR, "section %s not found in %s", section, file);
}

std::string_view as_text(std::string_view bytes) noexcept {
    return bytes.substr(0, bytes.find('\0'));
}

// Makes blanks of control characters, sixteen at a time: it is every byte of a log that comes by here.
void blank_controls(char *at, char *end) noexcept {
    using Lanes = unsigned char __attribute__((vector_size(16)));
    for (Lanes lanes; end - at >= ptrdiff_t{sizeof lanes}; at += sizeof lanes) {
        memcpy(&lanes, at, sizeof lanes);
        const Lanes is_control = (lanes < ' ') | (lanes == 0x7F);
        lanes = (lanes & ~is_control) | (is_control & ' ');
        memcpy(at, &lanes, sizeof lanes);
    }
    for (; at < end; ++at) {
        if (static_cast<unsigned char>(*at) < ' ' || *at == '\x7f') *at = ' ';
    }
}

// The texts of an event as they were meant, if one of them holds a zero.
EventFields up_to_zeros(EventFields event) noexcept {
    const std::string_view &last = event.arguments[3];
    const auto size = size_t(last.data() + last.size() - event.program.data());
    if (!memchr(event.program.data(), '\0', size)) return event;
    event.program = as_text(event.program);
    event.user = as_text(event.user);
    for (std::string_view &argument : event.arguments)
        argument = as_text(argument);
    return event;
}

void write_number(char *at, int number, int digits) noexcept {
    for (; digits > 0; number /= 10)
        at[--digits] = static_cast<char>('0' + number % 10);
}

}  // namespace

bool parse_event(std::string_view record, EventFields &event) noexcept {
    // Offsets in the whole record, of which the length field is not there.
    constexpr size_t kFixed = kRingRecordFixed - 2;
    if (record.size() < kFixed) return false;
    const char *const at = record.data() - 2;
    event.type = load_be16(at + 2);
    event.time = load_be32(at + 4);
    event.event = load_be32(at + 12);
    std::string_view rest = record.substr(kFixed);
    const auto take = [&](size_t length_at, std::string_view &text) {
        const size_t length = load_be16(at + length_at);
        if (length > rest.size()) return false;
        text = rest.substr(0, length);
        rest.remove_prefix(length);
        return true;
    };
    return take(8, event.program) && take(10, event.user) && take(16, event.arguments[0]) &&
           take(18, event.arguments[1]) && take(20, event.arguments[2]) && take(22, event.arguments[3]);
}

const char *find_event_text(uint32_t event, const char *language) noexcept {
    if (!is_language(language)) return "";
    if (!gpshEvent) gpshEvent = PshMLIBIHashAllocator(2048, 64 * 1024);
    if (!gpshEvent) {
        syslog(LOG_ERR, "malloc event hash failed");
        return nullptr;
    }
    Key key;
    write_key(event, key);
    if (const char *text = SzMLIBSzHashGetValue(gpshEvent, key)) return text;
    read_texts(event, language, &gpshEvent);
    if (const char *text = SzMLIBSzHashGetValue(gpshEvent, key)) return text;
    // So that it is not looked for again.
    TextsPath file;
    write_texts_path(language, file);
    syslog(LOG_ERR, "event %s not found in %s", key, file);
    if (MLIBSzHashSetValue(&gpshEvent, key, "") < 0) return nullptr;
    return "";
}

void forget_event_texts() noexcept {
    MLIBSzHashFree(gpshEvent);
    gpshEvent = nullptr;
}

void split_text(std::string_view text, std::vector<Piece> &pieces) {
    pieces.clear();
    for (size_t from = 0;;) {
        const size_t at = text.find('@', from);
        const bool is_placeholder =
            at != text.npos && at + 1 < text.size() && text[at + 1] >= '1' && text[at + 1] <= '4';
        if (at != text.npos && !is_placeholder) {
            from = at + 1;
            continue;
        }
        pieces.push_back({text.substr(0, at), at == text.npos ? -1 : text[at + 1] - '1'});
        if (at == text.npos) return;
        text.remove_prefix(at + 2);
        from = 0;
    }
}

void find_type_text(uint8_t type, const char *language, TypeText &text) noexcept {
    copy_text(text, "Unknown");
    MLIBSZHASH *texts = PshMLIBSzHashAlloc(512);
    if (texts && is_language(language)) read_texts(kTypeTexts, language, &texts);
    const HashPtr owner(texts);
    Key key;
    write_key(kTypeTexts + (type <= 3 ? type : 0), key);
    if (const char *found = SzMLIBSzHashGetValue(texts, key)) copy_text(text, found);
}

TimeText::TimeText() noexcept {
    tzset();
}

// Asks the zone for the hour around a time: answers false where it changes within.
bool TimeText::find_offset(int64_t time) noexcept {
    constexpr int64_t kHour = 3600;
    // Beyond these, years have fewer or more digits.
    if (time < 0 || time > int64_t{9000} * 365 * 86400) return false;
    const int64_t hour = time - time % kHour;
    if (hour == hour_) return true;
    const auto first = time_t(hour), last = time_t(hour + kHour - 1);
    struct tm at_first, at_last;
    if (!localtime_r(&first, &at_first) || !localtime_r(&last, &at_last)) return false;
    if (at_first.tm_gmtoff != at_last.tm_gmtoff) return false;
    // In zones that count leap seconds, the clock is not what the offset makes of the time.
    const int64_t clock = (hour + at_first.tm_gmtoff) % 86400;
    if (clock != at_first.tm_hour * 3600 + at_first.tm_min * 60 + at_first.tm_sec) return false;
    hour_ = hour;
    offset_ = at_first.tm_gmtoff;
    return true;
}

std::string_view TimeText::of(int64_t time) noexcept {
    constexpr int64_t kDay = 86400;
    const auto exact = time_t(time);
    struct tm local;
    if (!find_offset(time)) {
        day_ = INT64_MIN;
        if (exact != time || !localtime_r(&exact, &local) ||
            strftime(text_, sizeof text_, "%Y/%m/%d %H:%M:%S", &local) == 0) {
            text_[0] = '\0';
        }
        return text_;
    }
    int64_t second = time + offset_;
    const int64_t day = second >= 0 ? second / kDay : -1;
    second -= day * kDay;
    if (day != day_) {
        if (!localtime_r(&exact, &local)) return {};
        memcpy(text_, "0000/00/00 00:00:00", 20);
        write_number(text_, local.tm_year + 1900, 4);
        write_number(text_ + 5, local.tm_mon + 1, 2);
        write_number(text_ + 8, local.tm_mday, 2);
        day_ = day;
    }
    const auto of_day = static_cast<int>(second);
    write_number(text_ + 11, of_day / 3600, 2);
    write_number(text_ + 14, of_day / 60 % 60, 2);
    write_number(text_ + 17, of_day % 60, 2);
    return {text_, 19};
}

bool EventLines::find_text(const EventFields &event) {
    if (event.event != event_ || text_.empty()) {
        const char *const found = find_event_text(event.event, language_);
        text_.assign(found ? found : "");
        split_text(text_, pieces_);
        event_ = event.event;
    }
    if (!text_.empty()) return true;
    Key key;
    write_key(event.event, key);
    const auto argument = [&](int nth) { return std::string(event.arguments[nth]); };
    syslog(LOG_ERR,
           "Can not get the log szEvent id = %s, szLang = %s, szArg1 = [%s], szArg2 = [%s], "
           "szArg3 = [%s], szArg4 = [%s], szSource = %s",
           key, language_, argument(0).c_str(), argument(1).c_str(), argument(2).c_str(), argument(3).c_str(),
           std::string(event.program).c_str());
    return false;
}

std::string_view EventLines::type_text(uint8_t type) noexcept {
    const size_t slot = type <= 3 ? type : 0;
    if (!has_type_[slot]) find_type_text(type, language_, types_[slot]);
    has_type_[slot] = true;
    return types_[slot];
}

void EventLines::append(const EventFields &record, std::string &out) {
    const EventFields event = up_to_zeros(record);
    if (!find_text(event)) return;
    char number[8];
    const char *const number_end = std::to_chars(number, number + sizeof number, event.type).ptr;
    const std::string_view columns[] = {{number, size_t(number_end - number)},
                                        type_text(uint8_t(event.type)),
                                        time_.of(event.time),
                                        event.program,
                                        event.user};
    size_t size = 1;
    for (const std::string_view column : columns)
        size += column.size() + 1;
    for_each_part(pieces_, event.arguments, [&size](std::string_view part) { size += part.size(); });

    const size_t begin = out.size();
    out.resize(begin + size);
    char *at = out.data() + begin;
    char *tabs[std::size(columns)];
    const auto put = [&at](std::string_view text) {
        at = static_cast<char *>(mempcpy(at, text.data(), text.size()));
    };
    for (size_t i = 0; i < std::size(columns); ++i) {
        put(columns[i]);
        tabs[i] = at++;
    }
    for_each_part(pieces_, event.arguments, put);
    blank_controls(out.data() + begin, at);
    for (char *tab : tabs)
        *tab = '\t';
    *at = '\n';
}

}  // namespace morv
