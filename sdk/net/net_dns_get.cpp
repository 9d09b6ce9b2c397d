#include <errno.h>
#include <morvsdk/net.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"
#include "core/text/lines.h"

using namespace morv;

// The second word of the first line that begins so.
static std::string_view find_server(std::string_view text) noexcept {
    constexpr const char *kBlanks = " \t\r\n";
    for (const std::string_view whole : Lines(text)) {
        const std::string_view line = up_to_nul(whole);
        if (!line.starts_with("nameserver")) continue;
        const size_t gap = line.find_first_of(kBlanks);
        const size_t begin = line.find_first_not_of(kBlanks, gap);
        if (gap == line.npos || begin == line.npos) return {};
        return line.substr(begin, line.find_first_of(kBlanks, begin) - begin);
    }
    return {};
}

extern "C" int MORVNetDNSGet(char *buffer, int size) noexcept {
    if (!buffer || size < 1) {
        syslog(LOG_DEBUG, "%s (%d) Bad parameter.", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const FamilyLock lock(MORV_LOCK_NW | MORV_LOCK_READ);
    if (!lock.is_held()) {
        MORV_LOG(LOG_DEBUG, "ErrMLIBFileLock failed.");
        return -1;
    }
    buffer[0] = '\0';
    const SysPath path("/etc/resolv.conf");
    FileText file;
    constexpr size_t kMost = size_t{1} << 20;
    if (int code = file.load_bounded(path.c_str(), kMost)) {
        syslog(LOG_DEBUG, "%s(%d) Failed to open %s.(%s)", MORV_STEM, __LINE__, path.c_str(),
               strerror(errno));
        return MORV_FAIL(code, -1);
    }
    if (!copy_text({buffer, size_t(size)}, find_server(file.view())))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_NOT_ENOUGH_MEMORY, -1, "The name server does not fit");
    return 0;
}
