#include <regex.h>

#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

namespace {

struct Regex {
    regex_t compiled;
    int failed;
    explicit Regex(const char *pattern) noexcept
        : failed(regcomp(&compiled, pattern, REG_EXTENDED | REG_NOSUB)) {}
    ~Regex() {
        if (!failed) regfree(&compiled);
    }
    Regex(const Regex &) = delete;
    Regex &operator=(const Regex &) = delete;
};

}  // namespace

extern "C" int MORVShareEnumByRegex(MLIBSZLIST **ppList, const char *pattern) noexcept {
    if (!pattern) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const Regex regex(pattern);
    if (regex.failed)
        return MORV_FAIL(regex.failed == REG_ESPACE ? ERR_OUT_OF_MEMORY : ERR_BAD_PARAMETERS, -1);
    int count = 0;
    const auto accept = [&](const PackedShare &share) {
        return regexec(&regex.compiled, share.name(), 0, nullptr, 0) == 0;
    };
    const int code = list_shares(ppList, accept, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
