// An appliance that blocks, whose clock the test sets.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <morvsdk/autoblock.h>
#include <morvsdk/error.h>
#include <morvsdk/log.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/scratch.h"

namespace testing_support {

// What time() answers, in all processes of the test.
extern volatile int64_t *const clock_seconds;
// Whether waiting is over at once.
extern bool waits_are_over;
extern int waits;
// Called once, between the opening of a file and its lock.
extern std::function<void()> before_lock;

inline uint32_t address_of(const char *text) {
    return inet_addr(text);
}
inline std::string text_of(uint32_t address) {
    return inet_ntoa(in_addr{address});
}

using Record = std::pair<int32_t, std::string>;  // time and address

inline std::string bytes_of(const std::vector<Record> &records) {
    std::string bytes;
    for (const auto &[time, text] : records) {
        const uint32_t address = text.empty() ? 0 : address_of(text.c_str());
        bytes.append(reinterpret_cast<const char *>(&time), 4);
        bytes.append(reinterpret_cast<const char *>(&address), 4);
    }
    return bytes;
}

inline std::vector<Record> records_of(const std::string &bytes) {
    std::vector<Record> records;
    for (size_t at = 0; at + 8 <= bytes.size(); at += 8) {
        int32_t time;
        uint32_t address;
        memcpy(&time, &bytes[at], 4);
        memcpy(&address, &bytes[at + 4], 4);
        records.emplace_back(time, address == 0 ? "" : text_of(address));
    }
    return records;
}

struct BlockRoot : ScratchRoot {
    static constexpr int64_t kStart = 1200000000;
    static constexpr char kDeny[] = "etc/morvIPs.deny";
    static constexpr char kFailures[] = "tmp/login_fail.list";

    BlockRoot() {
        for (const char *folder : {"etc/x", "tmp/x", "var/log/x"}) {
            write(folder, "");
            unlink(path(folder).c_str());
        }
        // Events need not look the user up, for whom there is no account here.
        setenv("USERNAME", "admin", 1);
        *clock_seconds = kStart;
        waits_are_over = false;
        settings({3, 5, 1, 0});
    }

    void settings(const MORV_AUTOBLOCK_CONF &conf, const std::string &more = "") const {
        unlink(path("etc/morvinfo.conf").c_str());
        write("etc/morvinfo.conf", "autoblock_attempts=\"" + std::to_string(conf.attempts) +
                                       "\"\nautoblock_attempt_min=\"" + std::to_string(conf.attemptMin) +
                                       "\"\nautoblock_expriedday=\"" + std::to_string(conf.expiredDay) +
                                       "\"\nautoblock_notify=\"" + (conf.notify ? "yes" : "no") + "\"\n" +
                                       more);
    }

    std::vector<Record> denied() const { return records_of(read(kDeny)); }
    std::vector<Record> failures() const { return records_of(read(kFailures)); }

    // The events of the blocking, as "12A00003 192.0.2.1".
    std::vector<std::string> events() const {
        std::vector<std::string> found;
        MORVLogEnum(
            path("var/log/morvsys.log").c_str(),
            [](const MORV_LOG_EVENT *event, void *context) {
                char number[16];
                snprintf(number, sizeof number, "%08X ", unsigned(event->event));
                static_cast<std::vector<std::string> *>(context)->push_back(
                    number + std::string(event->szArgument[0]));
                return 0;
            },
            &found, nullptr);
        return found;
    }

    // When an address has been blocked, and nothing went wrong.
    static std::vector<std::string> names_in_etc() {
        return {"morvIPs.deny", "morvIPs.deny.lock", "morvinfo.conf", "morvlog.conf"};
    }

    bool has(const char *name) const { return access(path(name).c_str(), F_OK) == 0; }
    void pass(int64_t seconds) const { *clock_seconds = *clock_seconds + seconds; }
};

}  // namespace testing_support
