// morvctl log show: the events of a log as they are, and as they come.
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include "log_words.h"
#include "morvctl/log.h"
#include "morvctl/signals.h"

namespace morvctl {

namespace {

constexpr unsigned kPause = 1;         // seconds between two looks
constexpr size_t kFollowedFirst = 10;  // events that are there already

Filter parse_filter(const ShowArgs &args) {
    Filter filter;
    if (args.since) filter.since = parse_moment(*args.since, DayMeans::kBegin, "--since");
    if (args.until) filter.until = parse_moment(*args.until, DayMeans::kEnd, "--until");
    if (args.type) {
        filter.type = log_words::find_type(*args.type);
        if (*filter.type < 0)
            throw Failure(Exit::kUsage, "--type is info, warn or error, not '" + escape(*args.type) + "'");
    }
    if (args.event) {
        const bool has_prefix = args.event->starts_with("0x") || args.event->starts_with("0X");
        filter.number = log_words::parse_number((has_prefix ? "" : "0x") + *args.event, UINT32_MAX);
        if (*filter.number < 0) {
            throw Failure(Exit::kUsage,
                          "--event is a number in hexadecimal digits, not '" + escape(*args.event) + "'");
        }
    }
    filter.user = args.user;
    return filter;
}

class Display {
  public:
    Display(bool follows, bool json, const std::string &language)
        : follows_(follows), json_(json), language_(language) {}

    void show(const std::vector<Event> &events) {
        if (!json_) {
            Rows rows;
            if (widest_.empty()) rows.push_back(kEventColumns);
            for (const Event &event : events)
                rows.push_back(event_row(event, language_));
            for (const std::string &line : table_lines(rows, widest_))
                print_line(line);
        } else if (follows_) {
            for (const Event &event : events)
                print_line(json_text(event_json(event, language_), -1));
        } else {
            Json documents = Json::array();
            for (const Event &event : events)
                documents.push_back(event_json(event, language_));
            print_json({{"events", documents}});
        }
        if (follows_ && fflush(stdout) != 0) fail_system("write to standard output");
    }

  private:
    const bool follows_;
    const bool json_;
    const std::string language_;
    std::vector<size_t> widest_;
};

std::vector<Event> selected(const std::vector<Event> &events, size_t from, const Filter &filter) {
    std::vector<Event> found;
    for (size_t i = from; i < events.size(); ++i) {
        if (filter.takes(events[i])) found.push_back(events[i]);
    }
    return found;
}

// A log as it was at one look.
struct Look {
    std::vector<Event> events;
    uint64_t generation = 0;

    // How many events of a later look were there already. A ring drops its oldest events and gets new ones at
    // its end; when the file is another one they lie elsewhere in it, and long ones may have been left out.
    size_t count_known(const Look &later) const {
        size_t at = 0, known = 0;
        for (const Event &event : later.events) {
            const bool same_file = generation == later.generation;
            while (at < events.size() &&
                   !(event.has_content_of(events[at]) && (!same_file || event.offset == events[at].offset)))
                ++at;
            if (at == events.size()) break;
            ++at;
            ++known;
        }
        return known;
    }
};

// Tells whether a file may have changed since it was read.
class Changes {
  public:
    bool may_have_come(const std::string &path) {
        struct stat now = {};
        const bool is_there = stat(path.c_str(), &now) == 0;
        // What was changed just before the look may be changed again within the same tick of the clock.
        const bool is_settled = time(nullptr) - now.st_mtim.tv_sec > 2;
        const bool is_same = is_there && is_settled && now.st_ino == last_.st_ino &&
                             now.st_dev == last_.st_dev && now.st_size == last_.st_size &&
                             now.st_mtim.tv_sec == last_.st_mtim.tv_sec &&
                             now.st_mtim.tv_nsec == last_.st_mtim.tv_nsec && was_settled_;
        last_ = now;
        was_settled_ = is_settled;
        return !is_same;
    }

  private:
    struct stat last_ = {};
    bool was_settled_ = false;
};

}  // namespace

int show_log(const Session &session, const ShowArgs &args) {
    const LogFile log = find_log(session, args.log, args.file);
    const Filter filter = parse_filter(args);
    Display display(args.follow, session.json, parse_language(session, args.language));
    Look look;
    MORV_LOG_STATE state = {};
    Changes changes;
    changes.may_have_come(log.path);
    if (!read_log(log, look.events, state) && args.file && !args.follow) {
        throw Failure(Exit::kNotFound, "there is no file " + escape(*args.file));
    }
    look.generation = state.generation;
    std::vector<Event> events = selected(look.events, 0, filter);
    size_t most = args.last.value_or(events.size());
    if (args.follow && !args.last && !args.since) most = kFollowedFirst;
    if (events.size() > most) events.erase(events.begin(), events.end() - ptrdiff_t(most));
    display.show(events);
    if (state.damage != 0) {
        fprintf(stderr, "morvctl: note: %s is damaged: 'morvctl log verify' says where\n", log.name.c_str());
    }
    if (!args.follow) return int(Exit::kDone);

    const CaughtSignals signals;
    while (signals.wait(kPause)) {
        if (!changes.may_have_come(log.path)) continue;
        Look now;
        // While it is missing, what was there is remembered.
        if (!read_log(log, now.events, state)) continue;
        now.generation = state.generation;
        events = selected(now.events, look.count_known(now), filter);
        look = std::move(now);
        if (!events.empty()) display.show(events);
    }
    return int(Exit::kDone);
}

}  // namespace morvctl
