// A ring of an event log as somebody else has left it, behind a line with the most bytes it may have: it is read,
// written, made smaller and repaired without end or harm, and what was written last is there in the end.
#include <fcntl.h>
#include <morvsdk/log.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include "input.h"

extern "C" {
void syslog(int, const char *, ...) {}
void __syslog_chk(int, int, const char *, ...) {}
int fsync(int) {
    return 0;
}
}

namespace {

int records(const std::string &path, MORV_LOG_STATE &state) {
    return MORVLogEnum(
        path.c_str(),
        [](const MORV_LOG_EVENT *event, void *) {
            size_t texts = strlen(event->szProgram) + strlen(event->szUser);
            for (const char *argument : event->szArgument)
                texts += strlen(argument);
            expect(texts + 24 <= event->length && event->offset >= 16);
            return 0;
        },
        nullptr, &state);
}

bool add(const std::string &path) {
    return MORVLogSet1a(path.c_str(), 1, MORV_EVENT_USER_ADDED, "added", nullptr, nullptr, nullptr) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root({"/etc", "/var", "/var/log", "/usr", "/usr/morv", "/usr/morv/morvsdk",
                                  "/usr/morv/morvsdk/texts", "/usr/morv/morvsdk/texts/enu"});
    static const bool is_ready =
        (setenv("USERNAME", "admin", 1),
         root.write("/usr/morv/morvsdk/texts/enu/events", "[12B00000]\n12B00001=@1@2@3@4\n"), true);
    expect(is_ready);
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const int most = 200 + std::abs(atoi(take_line(text).c_str())) % 5000;
    const std::string path = root.dir() + "/var/log/ring", output = root.dir() + "/var/log/text";
    const auto reset = [&] { root.write("/var/log/ring", text); };

    reset();
    MORV_LOG_STATE before = {};
    const bool is_ring = records(path, before) >= 0;
    expect(!is_ring || before.records >= 0);
    glogsizeMax = most;

    // A writer goes on or gives up, and never makes the file longer than it may be or was.
    for (int i = 0; i < 8; ++i)
        add(path);
    MORV_LOG_STATE state = {};
    expect(records(path, state) >= 0);
    expect(state.size <= std::max<int64_t>(most, int64_t(text.size())));

    // A ring that a reader has repaired takes events again.
    reset();
    MORVLogChangeSize_a(10, path.c_str());
    reset();
    if (MORVLogGet1a(path.c_str(), output.c_str(), "enu") != 0) return 0;
    expect(records(path, state) >= 0);
    bool taken = false;
    for (int i = 0; i < 3 && !taken; ++i) {
        taken = add(path);
        if (!taken) expect(MORVLogGet1a(path.c_str(), output.c_str(), "enu") == 0);
    }
    expect(taken);
    return 0;
}
