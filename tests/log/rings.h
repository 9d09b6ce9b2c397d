// Logs for tests: a clock that is set by hand, waiting that takes no time, and records read back.
#pragma once

#include <morvsdk/log.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "support/fake_syslog.h"
#include "support/outcome.h"
#include "support/scratch.h"

namespace testing_support {

// What time() says; 0 for the real time.
extern int64_t clock_seconds;

// How far the clock that files are compared with is ahead, in seconds.
extern int64_t clock_ahead;

// The microseconds that the library has waited, all of which were spared.
extern int64_t waited;

// Called instead of waiting.
extern void (*while_waiting)();

inline int set(const std::string &path, const std::string &text) {
    return MORVLogSet1a(path.c_str(), MORV_LOG_INFO, MORV_EVENT_USER_ADDED, text.c_str(), nullptr, nullptr,
                        nullptr);
}

// The first arguments of a log's records, the oldest first.
inline std::vector<std::string> texts_of(const std::string &path, MORV_LOG_STATE *state = nullptr) {
    std::vector<std::string> texts;
    MORVLogEnum(
        path.c_str(),
        [](const MORV_LOG_EVENT *event, void *context) {
            static_cast<std::vector<std::string> *>(context)->emplace_back(event->szArgument[0]);
            return 0;
        },
        &texts, state);
    return texts;
}

// Big-endian integers, as they lie in a ring.
inline std::string be(uint64_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i)
        text += static_cast<char>(value >> (8 * i));
    return text;
}

// A ring with these bytes behind its header.
inline std::string ring(int head, int tail, const std::string &bytes) {
    return "MORV" + std::string(4, '\0') + be(uint64_t(head), 4) + be(uint64_t(tail), 4) + bytes;
}

// A record with one argument.
inline std::string record(const std::string &text) {
    return be(24 + text.size(), 2) + be(1, 2) + be(0, 4) + be(0, 4) + be(MORV_EVENT_USER_ADDED, 4) +
           be(text.size(), 2) + be(0, 6) + text;
}

}  // namespace testing_support
