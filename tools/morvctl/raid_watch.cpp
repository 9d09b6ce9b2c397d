// Following a resync: a bar that is drawn over and over on a terminal, else a line for every change.
#include <math.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <deque>

#include "morvctl/raid_commands.h"
#include "morvctl/signals.h"
#include "morvctl/storage.h"

namespace morvctl {

namespace {

constexpr unsigned kPause = 1;       // seconds between two looks
constexpr size_t kMostSamples = 15;  // that the rate is worked out from

// How fast it goes, from the last looks at it.
class Rate {
  public:
    void add(double share) {
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        // A further resync has begun.
        if (!samples_.empty() && share < samples_.back().share) samples_.clear();
        samples_.push_back({double(now.tv_sec) + double(now.tv_nsec) / 1e9, share});
        if (samples_.size() > kMostSamples) samples_.pop_front();
    }
    void clear() { samples_.clear(); }

    // The share that is done in a second; 0 while that is not known.
    double per_second() const {
        if (samples_.size() < 2) return 0;
        const double seconds = samples_.back().when - samples_.front().when;
        return seconds > 0 ? (samples_.back().share - samples_.front().share) / seconds : 0;
    }

  private:
    struct Sample {
        double when;
        double share;
    };
    std::deque<Sample> samples_;
};

std::string duration_text(double seconds) {
    const auto whole = uint64_t(std::min(seconds, 1e9));
    if (whole < 60) return std::to_string(whole) + " s";
    if (whole < 3600) return std::to_string(whole / 60) + " min";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole / 60 % 60) + " min";
}

// "37.5%  118.2 MiB/s  3 min left"
std::string progress_text(const RAID_INFO &array, const Rate &rate) {
    std::string text = resync_text(array.rebuild);
    const double share = resync_share(array.rebuild);
    if (share >= 0 && rate.per_second() > 0) {
        text += "  " + size_text(uint64_t(rate.per_second() * double(array.componentSize))) + "/s  " +
                duration_text((1 - share) / rate.per_second()) + " left";
    }
    return text;
}

size_t terminal_width() {
    struct winsize size;
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// "/dev/md2 [=========>          ]  37.5%  118.2 MiB/s  3 min left", not longer than the terminal is wide.
std::string bar_line(const RAID_INFO &array, const Rate &rate) {
    constexpr size_t kMostBar = 50;
    constexpr size_t kLeastBar = 5;
    const size_t width = terminal_width() - 1;
    const std::string text = progress_text(array, rate);
    std::string line = array.szPath;
    const double share = resync_share(array.rebuild);
    const size_t taken = line.size() + text.size() + 5;
    const size_t room = taken < width ? std::min(width - taken, kMostBar) : 0;
    if (share >= 0 && room >= kLeastBar) {
        const auto done = size_t(share * double(room));
        std::string bar = std::string(done, '=') + '>';
        bar.resize(room, ' ');
        line += " [" + bar + "]";
    }
    line += "  " + text;
    line.resize(std::min(line.size(), width));
    return line;
}

class Display {
  public:
    explicit Display(bool json) : json_(json), terminal_(!json && isatty(STDOUT_FILENO)) {}
    // Whatever ends the watching, what follows begins on a line of its own.
    ~Display() { end_line(); }
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    void show(const RAID_INFO &array, const Rate &rate) {
        if (terminal_) {
            draw(bar_line(array, rate));
            return;
        }
        const Json state = array_json(array);
        if (state == last_) return;
        last_ = state;
        if (json_) {
            const double per_second = rate.per_second();
            Json line = {{"array", state}};
            line["bytes_per_second"] =
                per_second > 0 ? Json(uint64_t(per_second * double(array.componentSize))) : Json(nullptr);
            line["seconds_left"] =
                per_second > 0 ? Json(uint64_t(std::min((1 - resync_share(array.rebuild)) / per_second, 1e9)))
                               : Json(nullptr);
            print_line(json_text(line, -1));
        } else {
            print_line(array.szPath + ("  " + progress_text(array, rate)));
        }
        fflush(stdout);
    }

    void end(const RAID_INFO &array) {
        if (json_) {
            show(array, {});
            return;
        }
        if (drawn_ > 0) {
            draw("");
            print_raw("\r");
        }
        print_line(array.szPath + (std::string("  no resync; ") + status_name(array.status) + ", " +
                                   std::to_string(members_in_sync(array)) + " of " +
                                   std::to_string(array.raidDisks) + " members in sync"));
    }

  private:
    // Blanks cover what was there, so that any kind of terminal will do.
    void draw(const std::string &line) {
        const size_t former = std::min(drawn_, terminal_width() - 1);
        print_raw("\r" + line + std::string(former > line.size() ? former - line.size() : 0, ' '));
        drawn_ = line.size();
        fflush(stdout);
    }
    void end_line() {
        if (drawn_ > 0) print_line("");
        fflush(stdout);
    }

    const bool json_;
    const bool terminal_;
    size_t drawn_ = 0;
    Json last_;
};

}  // namespace

int watch_array(const Session &session, const std::string &path) {
    const CaughtSignals signals;
    Display display(session.json);
    Rate rate;
    for (;;) {
        const Array array = read_array(session, path);
        if (array->rebuild.state == RAID_REBUILD_NONE) {
            display.end(*array);
            return int(Exit::kDone);
        }
        const double share = resync_share(array->rebuild);
        if (share < 0) {
            rate.clear();
        } else {
            rate.add(share);
        }
        display.show(*array, rate);
        if (ferror(stdout)) fail_system("write to standard output");
        if (!signals.wait(kPause)) return int(Exit::kDone);
    }
}

}  // namespace morvctl
