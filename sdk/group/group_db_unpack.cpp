#include <morvsdk/internal/group.h>

#include "core/account/record.h"
#include "core/base/fail.h"
#include "core/text/fields.h"
#include "group/unix_group.h"

extern "C" int MORVGroupDBUnpack(const char *line, void **ppBuffer, int *pSize,
                                 struct group **ppGroup) noexcept {
    if (!line || !ppBuffer || !pSize || *pSize < 0 || !ppGroup || morv::lies_in(line, *ppBuffer, *pSize)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    std::string_view fields[4];
    if (morv::split_fields(line, ':', fields) < 4) return MORV_FAIL(ERR_FORMAT_ERROR, -1);
    const auto gid = static_cast<gid_t>(morv::leading_number(fields[2]));
    if (int code = morv::make_unix_group(fields[0], fields[1], gid, fields[3], ppBuffer, pSize, ppGroup)) {
        return MORV_FAIL(code, -1);
    }
    return 0;
}
