#include <limits.h>
#include <morvsdk/internal/user.h>

#include <algorithm>

#include "core/account/line_record.h"
#include "core/base/fail.h"
#include "core/text/fields.h"

static int number_of(const char *field) noexcept {
    return static_cast<int>(std::min<int64_t>(morv::leading_number(field), INT_MAX));
}

static int number_or_none(const char *field) noexcept {
    return *field ? number_of(field) : -1;
}

extern "C" int MORVUserDBShadowUnpack(const char *line, void **ppBuffer, int *pSize,
                                      struct spwd **ppShadow) noexcept {
    if (!ppShadow) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    char *fields[9];
    if (int code = morv::cut_line(line, ppBuffer, pSize, sizeof(struct spwd), fields)) {
        return MORV_FAIL(code, -1);
    }
    auto *const entry = static_cast<struct spwd *>(*ppBuffer);
    *entry = {};
    entry->sp_namp = fields[0];
    entry->sp_pwdp = fields[1];
    entry->sp_lstchg = number_or_none(fields[2]);
    entry->sp_min = number_or_none(fields[3]);
    entry->sp_max = number_or_none(fields[4]);
    entry->sp_warn = number_or_none(fields[5]);
    entry->sp_inact = number_or_none(fields[6]);
    entry->sp_expire = number_or_none(fields[7]);
    entry->sp_flag = static_cast<unsigned long>(number_of(fields[8]));
    *ppShadow = entry;
    return 0;
}
