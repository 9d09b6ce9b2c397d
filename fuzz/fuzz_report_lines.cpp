// The lines of the sources of the report of connections: what is reported is one line of five fields, which come
// from the line of the source.
#include <morvsdk/internal/log.h>
#include <string.h>

#include <algorithm>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string line = take_line(text) + '\n';
    for (const auto process : {MORVLogIProcSmb, MORVLogIProcApp, MORVLogIProcFTP}) {
        std::string report(line.size() + 128, 'x');
        const int made = process(line.c_str(), report.data(), int(report.size()));
        expect(made == 0 || made == 1);
        if (made == 0) continue;
        report.resize(strlen(report.c_str()));
        expect(std::count(report.begin(), report.end(), '\t') == 4);
        expect(std::none_of(report.begin(), report.end(),
                            [](unsigned char c) { return (c < ' ' && c != '\t') || c == 0x7F; }));
        // No more than it says, and no less than it needs.
        std::string exact(report.size() + 1, 'x');
        expect(process(line.c_str(), exact.data(), int(exact.size())) == 1 && exact.c_str() == report);
        expect(process(line.c_str(), exact.data(), int(exact.size()) - 1) == -1);
    }
    return 0;
}
