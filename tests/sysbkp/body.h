// One exporter or importer at a time, on a block of its own.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/internal/sysbkp.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "support/backup_file.h"
#include "support/fake_syslog.h"

namespace sysbkp_test {

class Body {
  public:
    explicit Body(std::string_view content = "") : fd(memfd_create("backup", MFD_CLOEXEC)) {
        EXPECT_EQ(pwrite(fd, content.data(), content.size(), 0), static_cast<ssize_t>(content.size()));
    }
    ~Body() { close(fd); }
    Body(const Body &) = delete;
    Body &operator=(const Body &) = delete;

    std::string content() const {
        std::string all(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fd, all.data(), all.size(), 0), static_cast<ssize_t>(all.size()));
        return all;
    }

    const int fd;
};

// What an exporter writes; "failed" when it says so.
inline std::string exported(int (*exporter)(int fd)) {
    const Body body;
    return exporter(body.fd) == 0 ? body.content() : "failed";
}

inline int import(int (*importer)(int fd, int version, int option), std::string_view content) {
    const Body body(content);
    testing_support::logged.clear();
    return importer(body.fd, 7, 0);
}

// Whether a line for a person was told: "3" for a problem, "6" for a note.
inline bool told(const char *priority, std::string_view line) {
    const std::string whole = std::string(priority) + " configuration backup: " + std::string(line) + "\n";
    return testing_support::logged.find(whole) != std::string::npos;
}

}  // namespace sysbkp_test
