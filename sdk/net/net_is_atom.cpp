#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/name_text.h"

using namespace morv;

extern "C" int BlMLIBIsAtom(const char *text) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    return *text != '\0' && *end_of_atom(text) == '\0';
}
