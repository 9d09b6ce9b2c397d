// How a comparison is written: one name for the work, and one function for each side that does it.
//
//     compare("hash_fill", expected)
//         .side("ours", [&](auto see) { ...; see(result); ... })
//         .side("floor", ...);
//
// A side hands its result to `see`. Before anything is measured each side runs once and what it handed over
// is compared with `expected`; a side that does other work ends the run. While measuring, `see` only keeps
// the compiler from leaving the work out. report.py reads the result and holds the goals.
#pragma once

#include <benchmark/benchmark.h>
#include <morvsdk/list.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

// ---- What a side hands over, as text ---------------------------------------------------------------------

// The content of the file at a path; it is only read for the check.
struct FileAt {
    const std::string &path;
};

std::string text_of(std::string_view text);
std::string text_of(long long number);
std::string text_of(const FileAt &file);
std::string text_of(MLIBSZLIST *list);
template <class Texts>
std::string text_of(const Texts &texts) {
    std::string all;
    for (const auto &text : texts)
        all.append(text).append("\n");
    return all;
}
inline std::string text_of(const char *text) {
    return text_of(std::string_view(text));
}
inline std::string text_of(const std::string &text) {
    return text;
}
inline std::string text_of(int number) {
    return text_of(static_cast<long long>(number));
}

struct Measure {
    template <class T>
    void operator()(const T &result) const {
        benchmark::DoNotOptimize(&result);
        benchmark::ClobberMemory();
    }
};

struct Check {
    std::string *seen;
    template <class T>
    void operator()(const T &result) const {
        *seen = text_of(result);
    }
};

// ---- Registration ----------------------------------------------------------------------------------------

// Runs `work` on what `prepare` makes off the clock, and answers the seconds it took.
template <class Prepare, class Work>
auto timed(Prepare prepare, Work work) {
    return [prepare, work](auto see) mutable {
        using Clock = std::chrono::steady_clock;
        auto prepared = prepare();
        const Clock::time_point start = Clock::now();
        work(std::move(prepared), see);
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
}

// The sides "ours" and "floor" take turns, call by call, in one benchmark: so they see the same machine, and
// a disk whose speed changes from second to second. A peer has a benchmark of its own. Each benchmark has one
// counter for each side, the median of its calls in seconds. A call should last a microsecond or more, next
// to the clock.
class Comparison {
  public:
    Comparison(std::string work, std::string expected)
        : work_(std::move(work)), expected_(std::move(expected)) {}
    Comparison(const Comparison &) = delete;
    Comparison &operator=(const Comparison &) = delete;
    ~Comparison();

    template <class Work>
    Comparison &side(std::string_view who, Work work) {
        return side(
            who, [] { return 0; }, [work](int, auto see) mutable { work(see); });
    }

    // For work that uses something up: `prepare` makes it anew each time, off the clock.
    template <class Prepare, class Work>
    Comparison &side(std::string_view who, Prepare prepare, Work work) {
        auto once = timed(prepare, work);
        std::string seen;
        once(Check{&seen});
        enter(std::string(who), seen, [once]() mutable { return once(Measure{}); });
        return *this;
    }

    // For a peer that does the work in `steps` equal steps, too slow to be waited for: one of them is
    // measured, and stands for all.
    template <class Prepare, class Work>
    Comparison &one_step_of(int steps, std::string_view who, Prepare prepare, Work work) {
        auto once = timed(prepare, work);
        std::string seen;
        once(Check{&seen});
        enter(std::string(who), seen, [once, steps]() mutable { return steps * once(Measure{}); });
        return *this;
    }

  private:
    using Call = std::function<double()>;  // answers its seconds
    struct Side {
        std::string who;
        Call call;
    };

    void enter(const std::string &who, const std::string &seen, Call call);
    void enter_benchmark(const std::vector<Side> &sides);

    std::string work_;
    std::string expected_;
    std::vector<Side> together_;
};

inline Comparison compare(std::string work, std::string expected) {
    return Comparison(std::move(work), std::move(expected));
}

// Each area has a source file, and each peer that a machine may lack has one too; they enter themselves.
struct Area {
    explicit Area(void (*add)());
};

// Says in the results which version of a peer took part.
void took_part(const char *name, const std::string &version);

// ---- Where files lie -------------------------------------------------------------------------------------

// A folder for the files of this run, removed at its end.
struct Place {
    bool in_memory() const { return name == std::string_view("memory"); }

    const char *name;  // "disk": below the build folder; "memory": below /dev/shm where that is memory
    std::string folder;
};
const std::vector<Place> &places();

[[noreturn]] void give_up(const std::string &why);

void write_file(const std::string &path, std::string_view content);

// Makes a folder the library's root, unless it is: naming it again costs a path look-up.
void use_root(const std::string &folder);

// ---- Material --------------------------------------------------------------------------------------------

enum class Script { kAscii, kGreekAndCyrillic };

// Different names of people and machines, as long as such names are, in no order; the same in every run.
std::vector<std::string> names(size_t count, Script script = Script::kAscii);

}  // namespace bench
