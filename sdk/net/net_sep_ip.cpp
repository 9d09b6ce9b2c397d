#include <morvsdk/internal/net.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int cMLIBISepIP(const char *text, int32_t numbers[4]) noexcept {
    if (!text || !numbers) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int32_t found[4];
    if (!split_dotted(std::string_view(text).substr(0, kDottedMost), found))
        return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    memcpy(numbers, found, sizeof found);
    return 4;
}
