// What the commands of the event logs have in common: which log is meant, and its events.
#pragma once

#include <morvsdk/log.h>

#include <optional>
#include <string>
#include <vector>

#include "morvctl/command.h"
#include "morvctl/output.h"

namespace morvctl {

// A log, or a file that holds one.
struct LogFile {
    int number = 0;    // 0 for a file
    std::string name;  // for messages: "the log system", "the file x.log"
    std::string path;  // below the system root
};

// Exactly one of the two is to be given.
LogFile find_log(const Session &session, const std::optional<std::string> &log,
                 const std::optional<std::string> &file);

struct Event {
    int64_t time;
    uint32_t number;
    uint16_t type;
    int32_t offset;  // in the file
    std::string program;
    std::string user;
    std::string arguments[4];

    // Whether it is the same but for its place.
    bool has_content_of(const Event &other) const;
};

// The events of a log, the oldest first, and where it stands. A missing file has none: false.
bool read_log(const LogFile &log, std::vector<Event> &events, MORV_LOG_STATE &state);

// Which events are meant.
struct Filter {
    std::optional<int64_t> since;  // seconds since the epoch
    std::optional<int64_t> until;
    std::optional<int64_t> type;
    std::optional<int64_t> number;
    std::optional<std::string> user;

    bool takes(const Event &event) const;
};

// A moment: "2026-11-22 13:00", "2026-11-22", or "2h", so long ago. A day alone is its beginning or its end.
enum class DayMeans { kBegin, kEnd };
int64_t parse_moment(const std::string &text, DayMeans day, const char *option);

// Checks that there are texts in the language that was asked for.
std::string parse_language(const Session &session, const std::optional<std::string> &language);

// The sentence, or, where there is none, the number and the arguments.
std::string sentence_of(const Event &event, const std::string &language);
std::string number_text(uint32_t number);

extern const std::vector<std::string> kEventColumns;
std::vector<std::string> event_row(const Event &event, const std::string &language);
Json event_json(const Event &event, const std::string &language);

struct ShowArgs {
    std::optional<std::string> log, file, since, until, type, user, event, language;
    std::optional<size_t> last;
    bool follow = false;
};
int show_log(const Session &session, const ShowArgs &args);

}  // namespace morvctl
