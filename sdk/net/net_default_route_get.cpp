#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/system/routes.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int MORVNetDefaultRouteGet(char *buffer, int size) noexcept {
    if (!buffer || size < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t gateway;
    if (int code = find_default_gateway(gateway)) return MORV_FAIL(code, -1);
    if (gateway == 0) return MORV_FAIL(ERR_KEY_NOT_FOUND, -1);
    char text[MORV_IP_TEXT_SIZE];
    write_dotted(text, gateway);
    if (!copy_text({buffer, size_t(size)}, text)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    return 0;
}
