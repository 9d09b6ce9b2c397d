#include <string.h>

#include "core/account/reserved_section.h"
#include "core/base/fail.h"
#include "core/text/trim.h"

using namespace morv;

// Answers whether the section has the key.
static int find_value(const char *section, const char *key, std::string &value, bool *found) {
    const std::string wanted = lower_key(trim_blanks(key));
    *found = false;
    return for_each_pair(section, [&](const char *there, const char *text) {
        if (wanted != there) return 0;
        *found = true;
        value = text;
        return 0;
    });
}

extern "C" int MORVShareRSectionGetValue(const char *section, const char *key, const char *cutAt,
                                         char *buffer, int size) noexcept {
    if (!section || !key || !buffer || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int length = 0;
    const int code = no_throw([&] {
        std::string value;
        bool found;
        if (const int failed = find_value(section, key, value, &found)) return failed;
        if (!found) return 0;
        if (cutAt && *cutAt) value.resize(std::min(value.find(cutAt), value.size()));
        if (value.size() >= size_t(size)) return int{ERR_NOT_ENOUGH_SPACE};
        memcpy(buffer, value.c_str(), value.size() + 1);
        length = int(value.size());
        return 0;
    });
    return code ? MORV_FAIL(code, -1) : length;
}
