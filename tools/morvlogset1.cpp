// morvlogset1 CLASS TYPE EVENT [ARG...]: adds an event to a log, for scripts. docs/man/morvlogset1.1
#include <errno.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <string.h>

#include "log_words.h"

enum { kDone = 0, kFailed = 1, kUsage = 2 };

static int complain(const char *what, const char *text, const char *expected) {
    fprintf(stderr, "morvlogset1: '%s' is no %s: %s\n", text, what, expected);
    return kUsage;
}

int main(int argc, char **argv) {
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        puts(
            "usage: morvlogset1 CLASS TYPE EVENT [ARG1 [ARG2 [ARG3 [ARG4]]]]\n"
            "CLASS: sys, man, conn, bkp, copy, netbkp, sur   TYPE: info, warn, err\n"
            "EVENT: its number, as 0x1180050A");
        return kDone;
    }
    if (argc < 4 || argc > 8) {
        fputs("usage: morvlogset1 CLASS TYPE EVENT [ARG1 [ARG2 [ARG3 [ARG4]]]]; --help says more\n", stderr);
        return kUsage;
    }
    const auto *const log = log_words::find_log(argv[1]);
    if (!log) return complain("class", argv[1], "sys, man, conn, bkp, copy, netbkp or sur");
    const int64_t type = log_words::find_type(argv[2]);
    if (type < 0) return complain("type", argv[2], "info, warn or err");
    const int64_t event = log_words::parse_number(argv[3], UINT32_MAX);
    if (event < 0) return complain("event", argv[3], "its number, as 0x1180050A or 293602570");
    const char *arguments[4] = {};
    for (int i = 4; i < argc; ++i)
        arguments[i - 4] = argv[i];
    errno = 0;
    if (MORVLogSet1(log->number, uint16_t(type), uint32_t(event), arguments[0], arguments[1], arguments[2],
                    arguments[3]) != 0) {
        fprintf(stderr, "morvlogset1: cannot write to the %s log: %s\n", log->name,
                errno ? strerror(errno) : "the event does not fit, or the log cannot be used");
        return kFailed;
    }
    return kDone;
}
