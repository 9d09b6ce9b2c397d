#include <morvsdk/internal/log.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/text/lines.h"
#include "log/session_list.h"

using namespace morv;

// What a line of the report has beyond the fields of its source: the time as a text, a service, tabs.
static constexpr size_t kMostAdded = 128;

extern "C" int MORVLogIGetLineByKey(const char *path,
                                    int (*process)(const char *line, char *report, int size),
                                    MLIBSZLIST **ppList) noexcept {
    if (!path || !process || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    UniqueFd fd;
    FileText text;
    if (int code = load_session_list(path, fd, text)) return MORV_FAIL(code, -1);
    if (!fd) return 0;

    int found = 0;
    bool is_done = true;  // else the function that failed has set its code
    const int code = no_throw([&] {
        std::string line, report;
        for (const std::string_view bytes : Lines(text.view())) {
            line = up_to_nul(without_line_feed(bytes));
            line += '\n';
            report.resize(line.size() + kMostAdded);
            const int made = process(line.c_str(), report.data(), int(report.size()));
            is_done = made >= 0 && (made == 0 || MLIBSzListPush(ppList, report.c_str()) >= 0);
            if (!is_done) break;
            found += made > 0 ? 1 : 0;
        }
        return 0;
    });
    if (code != 0) return MORV_FAIL(code, -1);
    return is_done ? found : -1;
}
