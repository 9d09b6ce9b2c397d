#include <morvsdk/internal/log.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <span>
#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/aside.h"
#include "core/file/replacement_file.h"
#include "core/system/process.h"
#include "core/text/lines.h"
#include "log/session_list.h"

using namespace morv;

// The first line of each of the processes, which are in the order of their numbers, in that order; whole,
// whatever its length. May throw std::bad_alloc.
static std::string lines_of(std::string_view list, std::span<const int> pids) {
    std::vector<std::string_view> first(pids.size());
    for (const std::string_view line : Lines(list)) {
        int pid = 0;
        const auto parsed = std::from_chars(line.data(), line.data() + line.size(), pid);
        if (line.front() == '0' || parsed.ptr == line.data() + line.size() || *parsed.ptr != '\t') continue;
        const auto found = std::lower_bound(pids.begin(), pids.end(), pid);
        if (found == pids.end() || *found != pid) continue;
        std::string_view &place = first[size_t(found - pids.begin())];
        if (place.empty()) place = line;
    }
    std::string lines;
    for (const std::string_view line : first) {
        if (!line.empty()) lines.append(without_line_feed(line)).append(1, '\n');
    }
    return lines;
}

static int replace(const char *path, const char *temporary, int old_fd, std::string_view content) noexcept {
    // Anybody may have put something there.
    move_aside_unless_regular(temporary);
    ReplacementFile file(path, temporary + strlen(path));
    if (int code = file.create_like(old_fd)) return code;
    if (int code = file.write(content)) return code;
    return file.commit();
}

extern "C" int MORVLogICheckLog(const char *path, const char *temporary, const char *program) noexcept {
    if (!path || !temporary || !program) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const size_t length = strlen(path);
    if (length == 0 || strncmp(temporary, path, length) != 0 || temporary[length] == '\0') {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    UniqueFd fd;
    FileText list;
    if (int code = load_session_list(path, fd, list)) return MORV_FAIL(code, -1);
    if (!fd) return 0;

    std::string kept;
    if (int code = no_throw([&] {
            // All of them: the line of one that is not looked at would be lost.
            std::vector<int> pids;
            if (int failed = find_processes(program, pids)) return failed;
            kept = lines_of(list.view(), pids);
            return 0;
        })) {
        return MORV_FAIL(code, -1);
    }
    // What a service has added meanwhile would be lost by writing the same again.
    if (kept == list.view()) return 0;
    if (int code = replace(path, temporary, fd.get(), kept)) return MORV_FAIL(code, -1);
    return 0;
}
