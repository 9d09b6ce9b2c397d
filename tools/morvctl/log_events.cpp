// The events of a log: which of them are meant, and how they are shown.
#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/unicode.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "log_words.h"
#include "morvctl/log.h"
#include "morvctl/target.h"

namespace morvctl {

LogFile find_log(const Session &session, const std::optional<std::string> &log,
                 const std::optional<std::string> &file) {
    exclude(log.has_value(), file.has_value(), "LOG and --file");
    if (file) return {0, "the file " + escape(*file), find_target(session, *file).path};
    if (!log) throw Failure(Exit::kUsage, "a log is missing: its name, or --file and a file");
    const auto *const found = log_words::find_log(*log);
    if (!found) {
        std::string names;
        for (const auto &entry : log_words::kLogs)
            names.append(names.empty() ? "" : ", ").append(entry.name);
        throw Failure(Exit::kUsage, "'" + escape(*log) + "' is none of the logs: " + names);
    }
    char path[64];
    clear_errors();
    if (MORVLogPathGet(found->number, MORV_LOG_FOR_READING, path, sizeof path, nullptr) != 0) {
        fail_library("find the log " + std::string(found->name));
    }
    return {found->number, "the log " + std::string(found->name), system_path(session, path)};
}

bool Event::has_content_of(const Event &other) const {
    return time == other.time && number == other.number && type == other.type && program == other.program &&
           user == other.user && std::ranges::equal(arguments, other.arguments);
}

bool read_log(const LogFile &log, std::vector<Event> &events, MORV_LOG_STATE &state) {
    events.clear();
    const auto add = [](const MORV_LOG_EVENT *event, void *context) {
        static_cast<std::vector<Event> *>(context)->push_back(
            {event->time,
             event->event,
             event->type,
             event->offset,
             event->szProgram,
             event->szUser,
             {event->szArgument[0], event->szArgument[1], event->szArgument[2], event->szArgument[3]}});
        return 0;
    };
    clear_errors();
    if (MORVLogEnum(log.path.c_str(), add, &events, &state) >= 0) return true;
    if (MLIBErrGet() == ERR_FILE_NOT_FOUND) return false;
    constexpr CodeText kTexts[] = {{ERR_FORMAT_ERROR, true, "it is no event log"}};
    fail_library("read " + log.name, kTexts);
}

bool Filter::takes(const Event &event) const {
    return (!since || event.time >= *since) && (!until || event.time <= *until) &&
           (!type || event.type == *type) && (!number || event.number == *number) &&
           (!user || event.user == *user ||
            MLIBUnicodeUTF8StrCaseCmp(event.user.c_str(), user->c_str()) == 0);
}

namespace {

// "90s", "30m", "2h", "3d", "1w": how many seconds; -1 for another text.
int64_t parse_duration(std::string_view text) {
    constexpr struct {
        char unit;
        int64_t seconds;
    } kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}, {'w', int64_t{7} * 86400}};
    for (const auto &[unit, seconds] : kUnits) {
        if (!text.ends_with(unit)) continue;
        const int64_t number = log_words::parse_number(text.substr(0, text.size() - 1), INT32_MAX);
        return number < 0 || text.starts_with("0x") ? -1 : number * seconds;
    }
    return -1;
}

// A local time; false for a text of another form, and for a day that there is not.
bool parse_local(const std::string &text, const char *format, struct tm &tm) {
    tm = {};
    const char *const end = strptime(text.c_str(), format, &tm);
    if (!end || *end != '\0') return false;
    const int day = tm.tm_mday;
    tm.tm_isdst = -1;
    return mktime(&tm) != -1 && tm.tm_mday == day;
}

}  // namespace

int64_t parse_moment(const std::string &text, DayMeans day, const char *option) {
    if (const int64_t ago = parse_duration(text); ago >= 0) return int64_t(time(nullptr)) - ago;
    std::string plain = text;
    std::replace(plain.begin(), plain.end(), '/', '-');
    std::replace(plain.begin(), plain.end(), 'T', ' ');
    struct tm tm;
    for (const char *format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M"}) {
        if (parse_local(plain, format, tm)) return mktime(&tm);
    }
    if (!parse_local(plain, "%Y-%m-%d", tm)) {
        throw Failure(Exit::kUsage, std::string(option) +
                                        " is a time like '2026-11-22 13:00', 2026-11-22, or 2h " +
                                        "(ago), not '" + escape(text) + "'");
    }
    if (day == DayMeans::kBegin) return mktime(&tm);
    // One day further on, whatever its length.
    tm.tm_mday += 1;
    tm.tm_isdst = -1;
    return mktime(&tm) - 1;
}

std::string parse_language(const Session &session, const std::optional<std::string> &language) {
    if (!language) return "enu";
    const bool is_name = !language->empty() && language->find_first_not_of(
                                                   "abcdefghijklmnopqrstuvwxyz"
                                                   "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                   "0123456789_-") == language->npos;
    const std::string file = "/usr/morv/morvsdk/texts/" + *language + "/events";
    if (!is_name || access(system_path(session, file).c_str(), R_OK) != 0) {
        refuse("there are no event texts in the language '" + escape(*language) + "'" +
               (is_name ? ": " + file + ": " + reason_text(errno) : ""));
    }
    return *language;
}

std::string number_text(uint32_t number) {
    char text[16];
    snprintf(text, sizeof text, "%lX", static_cast<unsigned long>(number));
    return text;
}

namespace {

// "" where there is none.
std::string find_sentence(const Event &event, const std::string &language) {
    const auto &arguments = event.arguments;
    const std::unique_ptr<char, decltype(&free)> text(
        MORVLogConvertEventKey(event.number, language.c_str(), arguments[0].c_str(), arguments[1].c_str(),
                               arguments[2].c_str(), arguments[3].c_str()),
        free);
    if (!text) throw Failure(Exit::kFailed, "out of memory");
    return text.get();
}

// Those up to the last one that is not empty.
std::vector<std::string> given_arguments(const Event &event) {
    std::vector<std::string> given(std::begin(event.arguments), std::end(event.arguments));
    while (!given.empty() && given.back().empty())
        given.pop_back();
    return given;
}

}  // namespace

std::string sentence_of(const Event &event, const std::string &language) {
    std::string text = find_sentence(event, language);
    if (!text.empty()) return text;
    text = "event " + number_text(event.number);
    for (const std::string &argument : given_arguments(event))
        text.append(" [").append(argument).append("]");
    return text;
}

const std::vector<std::string> kEventColumns = {"TIME", "TYPE", "USER", "PROGRAM", "EVENT"};

std::vector<std::string> event_row(const Event &event, const std::string &language) {
    return {MORVLogConvertTime1(event.time), MORVLogConvertType(event.type & 0xFF, language.c_str()),
            escape(event.user), escape(event.program), escape(sentence_of(event, language))};
}

Json event_json(const Event &event, const std::string &language) {
    Json type = event.type;
    for (const auto &known : log_words::kTypes) {
        if (event.type == known.number) type = known.name;
    }
    const std::string text = find_sentence(event, language);
    return {{"time", event.time},
            {"time_text", MORVLogConvertTime1(event.time)},
            {"type", type},
            {"type_text", MORVLogConvertType(event.type & 0xFF, language.c_str())},
            {"user", event.user},
            {"program", event.program},
            {"event", number_text(event.number)},
            {"arguments", given_arguments(event)},
            {"text", text.empty() ? Json(nullptr) : Json(text)}};
}

}  // namespace morvctl
