// A file of event texts, behind a line with an argument: each event of it becomes one sentence, and its line in a
// log is one line of six columns.
#include <morvsdk/log.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>

#include "input.h"

extern "C" {
void syslog(int, const char *, ...) {}
void __syslog_chk(int, int, const char *, ...) {}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root(
        {"/usr", "/usr/morv", "/usr/morv/morvsdk", "/usr/morv/morvsdk/texts", "/usr/morv/morvsdk/texts/enu"});
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string argument = take_line(text);
    root.write("/usr/morv/morvsdk/texts/enu/events", text);
    MORVLogGet1(MORV_LOG_SYSTEM, "/dev/null", "enu");  // forgets the texts of the input before

    expect(strlen(MORVLogConvertType(1, "enu")) < 12);
    for (const uint32_t event : {uint32_t{0x12B00001}, uint32_t{0x11000001}}) {
        char *const sentence = MORVLogConvertEventKey(event, "enu", argument.c_str(), "two", "", nullptr);
        expect(sentence != nullptr);
        char *record = nullptr;
        const int length =
            MORVLogInitEventBuffer(&record, 1, event, argument.c_str(), "two", nullptr, nullptr);
        char *line = nullptr;
        size_t bytes = 0;
        FILE *const out = open_memstream(&line, &bytes);
        if (length > 0) MORVLogEventSpread(out, record + 2, "enu", length - 2);
        fclose(out);
        const std::string_view written(line, bytes);
        expect(written.empty() == (*sentence == '\0' || length == 0));
        if (!written.empty()) {
            expect(written.find('\n') == written.size() - 1);
            expect(std::count(written.begin(), written.end(), '\t') == 5);
        }
        free(sentence);
        free(record);
        free(line);
    }
    return 0;
}
