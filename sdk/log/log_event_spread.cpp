#include <morvsdk/log.h>

#include "core/base/no_throw.h"
#include "log/event_texts.h"

using namespace morv;

extern "C" int MORVLogEventSpread(FILE *output, const void *record, const char *language,
                                  int length) noexcept {
    EventFields event;
    if (!output || !record || length < 0 ||
        !parse_event({static_cast<const char *>(record), size_t(length)}, event)) {
        return 0;
    }
    no_throw([&] {
        std::string line;
        EventLines(language ? language : "enu").append(event, line);
        fwrite(line.data(), 1, line.size(), output);
        return 0;
    });
    return 0;
}
