// The event logs beside bare rings: the same bytes at the same places, by the fewest system calls.
#include <errno.h>
#include <fcntl.h>
#include <morvsdk/log.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>

#include "log_bench.h"

namespace bench {

namespace {

constexpr int kRing = 131072;
constexpr int kRecord = 100;
constexpr uint32_t kEvent = MORV_EVENT_USER_ADDED;

void must(bool done) {
    if (!done) give_up("log");
}

void put_be(char *at, uint32_t value, int bytes) {
    for (int i = bytes; i-- > 0; value >>= 8)
        at[i] = static_cast<char>(value);
}

uint32_t get_be(const char *at, int bytes) {
    uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value = value << 8 | static_cast<unsigned char>(at[i]);
    return value;
}

// A system root with one log of a size.
class LogRoot {
  public:
    LogRoot(const Place &place, const char *name, int size) : folder_(place.folder + "/log_" + name) {
        for (const char *folder : {"/etc", "/var/log", "/usr/morv/morvsdk/texts/enu"})
            std::filesystem::create_directories(folder_ + folder);
        write_file(folder_ + "/etc/morvlog.conf",
                   "syslogfilesize_MAX\t=\t\"" + std::to_string(size) + "\"\n");
        write_file(folder_ + "/usr/morv/morvsdk/texts/enu/events",
                   "[11000000]\n11000001=Info\n[12B00000]\n12B00001=User [@1] was added.\n");
    }
    void use() const { use_root(folder_); }
    std::string path() const { return folder_ + "/var/log/morvsys.log"; }
    std::string output() const { return folder_ + "/output"; }

  private:
    std::string folder_;
};

bool append() {
    return MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_INFO, kEvent, log_argument().c_str(), nullptr, nullptr,
                       nullptr) == 0;
}

// Answers whether the log is that large afterwards; the last record is at its end.
bool grow(const LogRoot &root, int bytes) {
    root.use();
    struct stat st = {};
    while (st.st_size < bytes)
        must(append() && stat(root.path().c_str(), &st) == 0);
    return true;
}

void make_record(char *record) {
    const std::string_view program = program_invocation_short_name, user = "admin", text = log_argument();
    memset(record, 0, 24);
    put_be(record, kRecord, 2);
    put_be(record + 2, MORV_LOG_INFO, 2);
    put_be(record + 4, uint32_t(time(nullptr)), 4);
    put_be(record + 8, uint32_t(program.size()), 2);
    put_be(record + 10, uint32_t(user.size()), 2);
    put_be(record + 12, kEvent, 4);
    put_be(record + 16, uint32_t(text.size()), 2);
    char *at = record + 24;
    for (const std::string_view part : {program, user, text})
        at = static_cast<char *>(mempcpy(at, part.data(), part.size()));
}

// The bare ring: `drops` moves head over the oldest record first, and syncs that.
bool append_bare(const std::string &path, bool syncs, bool drops) {
    char record[256], header[16], four[4];
    make_record(record);
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    must(fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0 &&
         pread(fd, header, sizeof header, 0) == sizeof header);
    const uint32_t tail = get_be(header + 12, 4);
    if (drops) {
        put_be(four, get_be(header + 8, 4), 4);
        must(pwrite(fd, four, sizeof four, 8) == sizeof four && (!syncs || fsync(fd) == 0));
    }
    // Where the records go does not matter here; that they are as many as ours does.
    must(pwrite(fd, record, kRecord, off_t(tail)) == kRecord);
    put_be(four, drops ? tail : tail + kRecord, 4);
    must(pwrite(fd, four, sizeof four, 12) == sizeof four && (!syncs || fsync(fd) == 0) && close(fd) == 0);
    return true;
}

// What the log is as text, made by hand.
void write_text_bare(const LogRoot &root, std::string &ring) {
    const int fd = open(root.path().c_str(), O_RDONLY | O_CLOEXEC);
    struct stat st;
    must(fd >= 0 && fstat(fd, &st) == 0);
    ring.resize(size_t(st.st_size));
    must(read(fd, ring.data(), ring.size()) == st.st_size && close(fd) == 0);
    std::string text;
    text.reserve(2 * ring.size());
    const auto add_part = [&](uint32_t from, uint32_t end) {
        while (from + 24 <= end) {
            const char *const record = ring.data() + from;
            const uint32_t length = get_be(record, 2);
            if (length == 0) break;
            const auto seconds = time_t(get_be(record + 4, 4));
            struct tm local;
            localtime_r(&seconds, &local);
            char stamp[] = "0000/00/00 00:00:00";
            const auto two = [&](int at, int number) {
                stamp[at] = static_cast<char>('0' + number / 10 % 10);
                stamp[at + 1] = static_cast<char>('0' + number % 10);
            };
            two(0, (local.tm_year + 1900) / 100);
            two(2, local.tm_year % 100);
            two(5, local.tm_mon + 1);
            two(8, local.tm_mday);
            two(11, local.tm_hour);
            two(14, local.tm_min);
            two(17, local.tm_sec);
            const size_t program = get_be(record + 8, 2), user = get_be(record + 10, 2);
            const char *at = record + 24;
            text.append("1\tInfo\t").append(stamp).append("\t").append(at, program).append("\t");
            at += program;
            text.append(at, user).append("\tUser [").append(at + user, get_be(record + 16, 2));
            text.append("] was added.\n");
            from += length;
        }
    };
    const uint32_t head = get_be(ring.data() + 8, 4), tail = get_be(ring.data() + 12, 4);
    if (tail < head) {
        add_part(head, uint32_t(ring.size()));
        add_part(16, tail);
    } else {
        add_part(head, tail);
    }
    write_file(root.output(), text);
}

void read_whole(const std::string &path, std::string &text) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat st;
    must(fd >= 0 && fstat(fd, &st) == 0);
    text.resize(size_t(st.st_size));
    must(read(fd, text.data(), text.size()) == st.st_size && close(fd) == 0);
}

void add_reading(const Place &place) {
    static const LogRoot root(place, "read", kRing);
    // Records of different minutes, as they come.
    grow(root, kRing - kRecord);
    std::string ring;
    read_whole(root.path(), ring);
    uint32_t seconds = 1700000000;
    for (size_t at = 16; at + kRecord <= ring.size(); at += kRecord)
        put_be(ring.data() + at + 4, seconds += 97, 4);
    write_file(root.path(), ring);
    must(MORVLogGet1(MORV_LOG_SYSTEM, root.output().c_str(), nullptr) == 0);
    std::string text;
    read_whole(root.output(), text);
    must(text.size() > ring.size());
    const std::string ready = root.output() + "_ready";
    write_file(ready, text);
    compare("log_read_memory", text)
        .side("ours",
              [](auto see) {
                  root.use();
                  must(MORVLogGet1(MORV_LOG_SYSTEM, root.output().c_str(), nullptr) == 0);
                  see(FileAt{root.output()});
              })
        .side("floor", [](auto see) {
            std::string bytes;
            write_text_bare(root, bytes);
            see(FileAt{root.output()});
        });
    compare("log_read_ready_memory", text)
        .side("ours",
              [](auto see) {
                  root.use();
                  must(MORVLogGet1(MORV_LOG_SYSTEM, root.output().c_str(), nullptr) == 0);
                  see(FileAt{root.output()});
              })
        .side("floor", [ready](auto see) {
            std::string bytes;
            read_whole(ready, bytes);
            see(bytes);
        });
}

void add_log(const Place &place) {
    static std::vector<LogRoot> roots;
    roots.reserve(4 * places().size());
    setenv("USERNAME", "admin", 1);
    const bool syncs = !place.in_memory();
    for (const bool drops : {false, true}) {
        const LogRoot &root = roots.emplace_back(place, drops ? "full" : "wide", drops ? kRing : 1 << 30);
        const LogRoot &bare = roots.emplace_back(place, drops ? "bare_full" : "bare_wide", kRing);
        grow(root, drops ? kRing - kRecord : kRecord);
        if (drops) must(append() && append());
        write_file(bare.path(), std::string("MORV\0\0\0\0\0\0\0\x10\0\0\0\x10", 16) + std::string(1000, ' '));
        const std::string path = bare.path();
        compare(std::string(drops ? "log_append_full_" : "log_append_") + place.name, "1")
            .side("ours",
                  [&root](auto see) {
                      root.use();
                      see(int(append()));
                  })
            .side("floor", [=](auto see) { see(int(append_bare(path, syncs, drops))); });
    }
    if (place.in_memory()) add_reading(place);
}

const Area area([] {
    for (const Place &place : places())
        add_log(place);
});

}  // namespace

}  // namespace bench
