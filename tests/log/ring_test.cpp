// What the ring keeps, whatever is written to it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <random>

#include "log/rings.h"
#include "support/process.h"
#include "support/sys_fault.h"

namespace {

using namespace testing_support;

// The rules of the ring on a list of records.
class Model {
  public:
    explicit Model(int most) : most_(most) {}

    bool append(int length, const std::string &text) {
        if (length > most_ - 18) return false;
        if (tail_ < head_) {
            while (head_ - tail_ <= length && head_ != older_end_)
                drop();
            if (head_ - tail_ <= length) head_ = 16;
        }
        if (tail_ >= head_ && tail_ + length > most_ - 2) {
            while (!records_.empty() && head_ - 16 <= length)
                drop();
            older_end_ = tail_;
            if (records_.empty()) head_ = 16;
            tail_ = 16;
        }
        records_.push_back({length, text});
        tail_ += length;
        return true;
    }

    void change_size(int most, int64_t file_size) {
        most_ = most;
        if (file_size <= most) return;
        const bool wrapped = tail_ < head_;
        for (int64_t excess = file_size - most; excess > 0 && !records_.empty(); records_.pop_front())
            excess -= records_.front().length;
        std::deque<Record> kept;
        for (const Record &record : records_) {
            if (record.length < 256)
                kept.push_back(record);
            else if (!wrapped)
                break;
        }
        records_ = kept;
        head_ = tail_ = 16;
        for (const Record &record : records_)
            tail_ += record.length;
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const Record &record : records_)
            texts.push_back(record.text);
        return texts;
    }

  private:
    struct Record {
        int length;
        std::string text;
    };

    void drop() {
        head_ += records_.front().length;
        records_.pop_front();
    }

    int most_;
    int head_ = 16, tail_ = 16, older_end_ = 0;
    std::deque<Record> records_;
};

int fixed_length() {
    char *buffer = nullptr;
    const int length = MORVLogInitEventBuffer(&buffer, 1, 1, nullptr, nullptr, nullptr, nullptr);
    free(buffer);
    return length;
}

TEST(Ring, KeepsTheNewestRecordsThatFitWhateverTheirSizes) {
    const ScratchRoot root;
    const std::string path = root.path("log");
    const int fixed = fixed_length();
    std::mt19937 random(20081122);
    int wraps = 0, refused = 0, smaller = 0;
    for (int round = 0; round < 40; ++round) {
        ::unlink(path.c_str());
        int most = 120 + int(random() % 3000);
        Model model(most);
        for (int step = 0; step < 150; ++step) {
            if (step % 50 == 49) {
                most = std::max(fixed + 20, most / 2 + int(random() % unsigned(most)));
                const int64_t size = stat_of(path).st_size;
                if (size > most) {
                    ASSERT_EQ(MORVLogChangeSize_a(int(size - most), path.c_str()), 0);
                    ++smaller;
                }
                model.change_size(most, size);
            }
            const unsigned largest = step % 7 == 0 ? unsigned(most) : 90;
            std::string text = std::to_string(step) + ":";
            text.append(random() % largest, 'x');
            glogsizeMax = most;
            const bool taken = model.append(fixed + int(text.size()), text);
            ASSERT_EQ(set(path, text), taken ? 0 : -1) << round << " " << step;
            refused += !taken;
            MORV_LOG_STATE state;
            ASSERT_EQ(texts_of(path, &state), model.texts()) << round << " " << step;
            ASSERT_EQ(state.damage, 0);
            ASSERT_LE(state.size, most);
            wraps += state.tail < state.head;
        }
    }
    // Or this test would have seen little.
    EXPECT_GT(wraps, 500);
    EXPECT_GT(refused, 10);
    EXPECT_GT(smaller, 20);
}

TEST(Ring, HasItsIntegersBigEndianAndItsTextsBackToBack) {
    const ScratchRoot root;
    const std::string path = root.path("log");
    clock_seconds = 0x4730A1B2;
    setenv("USERNAME", "root", 1);
    glogsizeMax = 0x20000;
    ASSERT_EQ(MORVLogSet1a(path.c_str(), 0x0203, 0x12A00003, "ab", nullptr, "c", ""), 0);
    clock_seconds = 0;
    unsetenv("USERNAME");
    const std::string program = program_invocation_short_name;
    const size_t length = 24 + program.size() + 5 + 3;
    EXPECT_EQ(read_file(path),
              ring(16, 16 + int(length),
                   be(length, 2) + be(0x0203, 2) + be(0x4730A1B2, 4) + be(program.size(), 2) + be(5, 2) +
                       be(0x12A00003, 4) + be(2, 2) + be(0, 2) + be(1, 2) + be(0, 2) + program + "adminabc"));
    EXPECT_EQ(mode_of(path), 0600U);

    // Files of others get the mode and keep what lies in the gap; without the name they are made anew.
    write_file(path, std::string("junkGAP!") + be(7, 8), 0644);
    ASSERT_EQ(set(path, "first"), 0);
    EXPECT_EQ(read_file(path).substr(0, 12), "MORVGAP!" + be(16, 4));
    EXPECT_EQ(texts_of(path), std::vector<std::string>{"first"});
    EXPECT_EQ(mode_of(path), 0600U);

    const int fd = ::open(path.c_str(), O_RDWR);
    EXPECT_EQ(MORVLogInit(fd), 4);
    EXPECT_EQ(MORVLogGetHead(fd), 16);
    EXPECT_EQ(MORVLogGetTail(fd), int(stat_of(path).st_size));
    EXPECT_EQ(MORVLogSetTail(fd, 16), 4);
    EXPECT_EQ(MORVLogSetHead(fd, 77), 4);
    EXPECT_EQ(read_file(path).substr(8, 8), be(77, 4) + be(16, 4));
    char four[4];
    EXPECT_EQ(MORVLogReadByte(fd, four, 4), 4);
    EXPECT_EQ(std::string(four, 4), "MORV");
    EXPECT_EQ(MORVLogWriteByte(fd, "gap", 3), 3);
    EXPECT_EQ(MORVLogTell(fd), 7);
    EXPECT_EQ(MORVLogReadByte(fd, std::string(4096, ' ').data(), 4096), -1);
    ASSERT_EQ(ftruncate(fd, 0), 0);
    EXPECT_EQ(MORVLogGetHead(fd), -1);
    EXPECT_EQ(MORVLogInit(fd), 12);
    EXPECT_EQ(stat_of(path).st_size, 16);
    ::close(fd);
    EXPECT_EQ(MORVLogInit(fd), -1);
    logged.clear();
    EXPECT_EQ(MORVLogWriteByte(fd, "gap", 3), -1);
    EXPECT_EQ(logged, "3 MORVLogWriteByte(): write() error!, input count is [3]\n");
}

TEST(Ring, RefusesARecordLongerThanItCanHoldAndDropsNothingForIt) {
    const ScratchRoot root;
    const std::string path = root.path("log");
    const int fixed = fixed_length();
    glogsizeMax = 16 + 2 + 3 * fixed;
    ASSERT_EQ(set(path, "1"), 0);
    const std::string before = read_file(path);
    EXPECT_EQ(set(path, std::string(size_t(2 * fixed + 1), 'x')), -1);
    EXPECT_EQ(read_file(path), before);
    // One that just fits needs the room of all others.
    EXPECT_EQ(set(path, std::string(size_t(2 * fixed), 'x')), 0);
    EXPECT_EQ(texts_of(path).size(), 1U);
    glogsizeMax = INT32_MAX;
    EXPECT_EQ(set(path, std::string(70000, 'x')), -1);
    EXPECT_EQ(texts_of(path).size(), 1U);
}

TEST(Ring, OfAnotherHandIsReadAsFarAsItIsSoundAndNeverHangsAWriter) {
    const ScratchRoot root;
    const std::string path = root.path("log"), output = root.path("out");
    const std::string one = record("one"), two = record("two");
    const int size = int(one.size()), first = 16, second = first + size, third = second + size;
    const struct {
        const char *what;
        std::string file;
        std::vector<std::string> texts;
        int damage, tail;  // behind the repair
    } cases[] = {
        {"sound", ring(first, third, one + two), {"one", "two"}, 0, third},
        {"wrapped at a mark", ring(second, second, two + one), {}, 0, second},
        {"wrapped at the end",
         ring(second + 10, second, two + std::string(10, 'x') + one),
         {"one", "two"},
         0,
         second},
        {"tail behind the file", ring(first, 5000, one), {"one"}, 12, second},
        {"tail in the header", ring(first, 3, one), {"one"}, 12, second},
        {"negative tail", ring(first, -2, one), {"one"}, 12, second},
        {"head behind the file", ring(5000, second, one), {"one"}, 8, second},
        {"negative head", ring(-5000, second, one), {"one"}, 8, second},
        {"both wrong", ring(-1, -1, one + two), {"one", "two"}, 8, third},
        {"tail in a record", ring(first, third - 3, one + two), {"one"}, second, second},
        {"zero length", ring(first, third, one + be(0, 2) + two.substr(2)), {"one"}, second, second},
        {"length 1", ring(first, third, one + be(1, 2) + two.substr(2)), {"one"}, second, second},
        {"length 23", ring(first, third, one + be(23, 2) + two.substr(2)), {"one"}, second, second},
        {"length beyond the tail",
         ring(first, third, one + be(9999, 2) + two.substr(2)),
         {"one"},
         second,
         second},
        {"texts longer than the record",
         ring(first, third, one.substr(0, 8) + be(999, 2) + one.substr(10) + two),
         {"two"},
         first,
         third},
        {"a header", ring(first, first, ""), {}, 0, first},
        {"half a header", "MORV", {}, 0, -1},
        {"nothing", "", {}, 0, -1},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.what);
        write_file(path, test.file);
        MORV_LOG_STATE state;
        EXPECT_EQ(texts_of(path, &state), test.texts);
        EXPECT_EQ(state.damage, test.damage);
        EXPECT_EQ(state.records, int(test.texts.size()));
        EXPECT_EQ(read_file(path), test.file);

        EXPECT_EQ(MORVLogGet1a(path.c_str(), output.c_str(), "enu"), 0);
        const int fd = ::open(path.c_str(), O_RDWR);
        EXPECT_EQ(MORVLogGetTail(fd), test.tail);
        ::close(fd);

        // A writer before and behind the repair.
        for (const bool repaired : {false, true}) {
            if (!repaired)
                write_file(path, test.file);
            else if (MORVLogGet1a(path.c_str(), output.c_str(), "enu") != 0)
                ADD_FAILURE();
            for (const int most : {100, 200, 4096}) {
                glogsizeMax = most;
                for (int i = 0; i < 20; ++i)
                    set(path, "more");
            }
            if (repaired) {
                EXPECT_EQ(texts_of(path).back(), "more");
            }
        }
    }
    for (const char *other : {"this is no log at all, but a file of somebody's", "MOR"}) {
        write_file(path, other);
        EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, MORVLogEnum(path.c_str(), nullptr, nullptr, nullptr)));
        EXPECT_EQ(MORVLogGet1a(path.c_str(), output.c_str(), "enu"), -1);
        EXPECT_EQ(read_file(path), other);
    }
}

TEST(Ring, OfADamagedLengthInItsOlderPartShowsTheNewerPartAsWell) {
    const ScratchRoot root;
    const std::string one = record("one"), two = record("two");
    const int size = int(one.size());
    const std::string path =
        root.write("log", ring(16 + 2 * size, 16 + size, two + one + one + be(3, 2) + two));
    MORV_LOG_STATE state;
    EXPECT_EQ(texts_of(path, &state), (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(state.damage, 16 + 3 * size);
    // A writer that needs the room gives up the older part alone.
    glogsizeMax = int(read_file(path).size()) + 2;
    const std::string bytes = read_file(path);
    EXPECT_EQ(set(path, "next"), 0);
    EXPECT_EQ(texts_of(path).back(), "next");
    write_file(path, bytes);
    EXPECT_EQ(MORVLogChangeSize_a(1, path.c_str()), 0);
    EXPECT_EQ(texts_of(path), std::vector<std::string>{"two"});
    // A reader sets the end there, and keeps what it was.
    write_file(path, bytes);
    EXPECT_EQ(MORVLogGet1a(path.c_str(), root.path("out").c_str(), "enu"), 0);
    EXPECT_EQ(texts_of(path), std::vector<std::string>{"one"});
    EXPECT_EQ(root.read("log.damaged"), bytes);
    EXPECT_EQ(mode_of(root.path("log.damaged")), 0600U);
}

// A log with a record, one with several, one that is about to wrap, wrapped ones, and one whose next record needs all
// the room; each with the size that they are for.
struct Start {
    std::vector<std::string> texts;
    int most;
    std::string next;
};

std::vector<Start> starts() {
    const int length = fixed_length() + 4;
    std::vector<std::string> many;
    for (int i = 0; i < 14; ++i)
        many.push_back("t" + std::to_string(100 + i));
    const auto first = [&](size_t count) {
        return std::vector<std::string>(many.begin(), many.begin() + count);
    };
    const int most = 18 + 4 * length;
    const std::string large(size_t(3 * length), 'x');
    return {{first(0), most, "next"}, {first(1), most, "next"},     {first(4), most, "next"},
            {first(6), most, "next"}, {first(8), most, "next"},     {first(5), most, large},
            {first(4), most, large},  {first(11), most, "lengthy"}, {first(7), most, "nextnextnext"}};
}

// Whether a log holds what it held, less some of the oldest, and perhaps the new record.
bool is_sound(const std::string &path, const std::vector<std::string> &before, const std::string &added) {
    MORV_LOG_STATE state;
    std::vector<std::string> found = texts_of(path, &state);
    if (state.damage != 0) return false;
    if (!found.empty() && found.back() == added) found.pop_back();
    return found.size() <= before.size() && std::equal(found.rbegin(), found.rend(), before.rbegin());
}

TEST(Ring, IsSoundWhereverItsWriterFailsOrIsKilled) {
    int killed = 0, faults = 0;
    for (const Start &start : starts()) {
        SCOPED_TRACE(start.texts.size());
        const ScratchRoot root;
        const std::string path = root.path("log");
        glogsizeMax = start.most;
        for (const std::string &text : start.texts)
            ASSERT_EQ(set(path, text), 0);
        const std::string bytes = start.texts.empty() ? "" : read_file(path);
        const std::vector<std::string> before = texts_of(path);
        const auto reset = [&] {
            ::unlink(path.c_str());
            if (!bytes.empty()) write_file(path, bytes, 0600);
        };
        const auto check = [&](const char *what, int nth) {
            SCOPED_TRACE(std::string(what) + std::to_string(nth));
            EXPECT_TRUE(start.texts.empty() || is_sound(path, before, start.next));
            EXPECT_EQ(set(path, "last"), 0);
            EXPECT_EQ(texts_of(path).back(), "last");
        };
        for (int nth = 1;; ++nth, ++killed) {
            reset();
            const int code = in_child([&] {
                kill_at_call(nth);
                return set(path, start.next) == 0 ? 42 : 1;
            });
            if (code == 42) break;
            ASSERT_EQ(code, -1);
            check("kill", nth);
        }
        const int descriptors = open_descriptors();
        faults += for_each_sys_fault([&](Sys which, int nth) {
            reset();
            int result;
            bool reached;
            {
                SysFault fault(which, nth);
                result = set(path, start.next);
                reached = fault.reached();
            }
            if (!reached) {
                EXPECT_EQ(result, 0);
            } else if (result == 0) {
                EXPECT_EQ(texts_of(path).back(), start.next) << sys_name(which) << nth;
            }
            check(sys_name(which), nth);
            return reached;
        });
        EXPECT_EQ(open_descriptors(), descriptors);
    }
    EXPECT_GT(killed, 50);
    EXPECT_GT(faults, 60);
}

TEST(Ring, IsMadeSmallerWholeOrNotAtAll) {
    const ScratchRoot root;
    const std::string path = root.path("log");
    glogsizeMax = 1000;
    for (int i = 0; i < 40; ++i)
        ASSERT_EQ(set(path, std::to_string(i)), 0);
    const std::string bytes = read_file(path);
    const std::vector<std::string> before = texts_of(path);
    const int excess = int(bytes.size()) - 500;
    ASSERT_EQ(MORVLogChangeSize_a(excess, path.c_str()), 0);
    const std::vector<std::string> after = texts_of(path);
    ASSERT_LT(after.size(), before.size());
    ASSERT_TRUE(std::equal(after.rbegin(), after.rend(), before.rbegin()));
    EXPECT_EQ(mode_of(path), 0600U);
    const auto is_whole = [&] {
        const std::vector<std::string> found = texts_of(path);
        return found == before || found == after;
    };
    for_each_sys_fault([&](Sys which, int nth) {
        write_file(path, bytes, 0600);
        int result;
        bool reached;
        {
            SysFault fault(which, nth);
            result = MORVLogChangeSize_a(excess, path.c_str());
            reached = fault.reached();
        }
        EXPECT_TRUE(is_whole()) << sys_name(which) << nth;
        EXPECT_TRUE(result == 0 ? texts_of(path) == after : reached) << sys_name(which) << nth;
        EXPECT_EQ(root.names(), std::vector<std::string>{"log"});
        return reached;
    });
    for (int nth = 1;; ++nth) {
        write_file(path, bytes, 0600);
        const int code = in_child([&] {
            kill_at_call(nth);
            return MORVLogChangeSize_a(excess, path.c_str()) == 0 ? 42 : 1;
        });
        EXPECT_TRUE(is_whole());
        if (code == 42) break;
    }
    EXPECT_EQ(MORVLogChangeSize_a(10, root.path("none").c_str()), -1);
}

TEST(Ring, TakesTheEventsOfTwentyProcessesInTheOrderOfEach) {
    const ScratchRoot root;
    const std::string path = root.path("log");
    glogsizeMax = 1 << 20;
    constexpr int kProcesses = 20, kEvents = 120;
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t child = fork();
        if (child == 0) {
            while_waiting = [] { sched_yield(); };
            int failed = 0;
            for (int i = 0; i < kEvents; ++i) {
                failed += set(path, std::to_string(p) + " " + std::to_string(i)) != 0;
                // Some make it smaller meanwhile, by as good as nothing: its first record.
                if (p == 0 && i == kEvents / 2) failed += MORVLogChangeSize_a(1, path.c_str()) != 0;
            }
            _exit(failed);
        }
        children.push_back(child);
    }
    for (const pid_t child : children)
        EXPECT_EQ(wait_for(child), 0);
    MORV_LOG_STATE state;
    std::vector<int> next(kProcesses, 0);
    int dropped = 0;
    for (const std::string &text : texts_of(path, &state)) {
        const size_t writer = std::stoul(text);
        const int number = std::stoi(text.substr(text.find(' ')));
        if (number == 1 && next[writer] == 0) {
            ++dropped;
            next[writer] = 1;
        }
        ASSERT_EQ(number, next[writer]++) << writer;
    }
    EXPECT_EQ(state.damage, 0);
    EXPECT_EQ(dropped, 1);
    for (const int count : next)
        EXPECT_EQ(count, kEvents);
}

TEST(Ring, IsWrittenWithoutTheLockWhenItCannotBeHadForTenSeconds) {
    const ScratchRoot root;
    const std::string path = root.path("log");
    glogsizeMax = 1000;
    ASSERT_EQ(set(path, "one"), 0);
    const int held = ::open(path.c_str(), O_RDONLY);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    waited = 0;
    EXPECT_EQ(set(path, "two"), 0);
    EXPECT_NEAR(double(waited), 10e6, 1e6);
    EXPECT_EQ(texts_of(path), (std::vector<std::string>{"one", "two"}));
    // What would put another file in its place does not.
    EXPECT_EQ(MORVLogChangeSize_a(1, path.c_str()), -1);
    // Nor is that tried for an event.
    root.write("etc/morvlog.conf", "syslogfile=/log\nsyslogfilesize_MAX=64\n");
    waited = 0;
    MORVLogSet1(MORV_LOG_SYSTEM, 1, 1, nullptr, nullptr, nullptr, nullptr);
    EXPECT_NEAR(double(waited), 10e6, 1e6);

    // A reader does not repair what a writer may be at.
    const std::string torn = ring(16, 9999, record("one"));
    write_file(path, torn);
    logged.clear();
    EXPECT_EQ(MORVLogGet1a(path.c_str(), root.path("out").c_str(), "enu"), 0);
    EXPECT_NE(logged.find("3 log file lock failed\n"), logged.npos);
    EXPECT_EQ(read_file(path), torn);
    ::close(held);
}

TEST(Ring, ThatIsRemovedWhileItsWriterWaitsIsMadeAnew) {
    const ScratchRoot root;
    static std::string path;
    static int held;
    path = root.path("log");
    glogsizeMax = 1000;
    ASSERT_EQ(set(path, "one"), 0);
    held = ::open(path.c_str(), O_RDONLY);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    while_waiting = [] {
        ::unlink(path.c_str());
        ::close(held);
        while_waiting = nullptr;
    };
    EXPECT_EQ(set(path, "two"), 0);
    EXPECT_EQ(texts_of(path), std::vector<std::string>{"two"});
}

TEST(Ring, ThatIsNoFileIsRefused) {
    const ScratchRoot root;
    const std::string pipe = root.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &path : {pipe, root.dir(), root.dir() + "/none/log"}) {
        logged.clear();
        EXPECT_EQ(set(path, "text"), -1);
        EXPECT_EQ(logged, "3 logfile " + path + " open error while writing!\n");
        EXPECT_EQ(MORVLogEnum(path.c_str(), nullptr, nullptr, nullptr), -1);
    }
    EXPECT_TRUE(gives(-1, ERR_FILE_NOT_FOUND, MORVLogEnum("/none", nullptr, nullptr, nullptr)));
    EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, MORVLogEnum(nullptr, nullptr, nullptr, nullptr)));
}

}  // namespace
