#include <morvsdk/file.h>

#include "core/account/group_mirror.h"
#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVGroupDescGet(const char *name, char *buffer, int size) noexcept {
    if (!name || !buffer || size < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int length = 0;
    const int code = read_accounts(group_mirror_kind, MORV_LOCK_GR, [&](Mirror &mirror) {
        std::string key;
        std::string line;
        if (!upper_name(name, key)) return int{ERR_NO_SUCH_GROUP};
        if (const int failed = read_group_line(mirror, key, &line)) return failed;
        if (const int failed = read_description(mirror, key, &line)) return failed;
        const std::string_view text = description_of(line);
        if (text.size() >= static_cast<size_t>(size)) return int{ERR_NOT_ENOUGH_MEMORY};
        buffer[text.copy(buffer, text.size())] = '\0';
        length = static_cast<int>(text.size());
        return 0;
    });
    return code ? MORV_FAIL(code, -1) : length;
}
