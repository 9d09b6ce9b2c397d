#include <morvsdk/log.h>

#include "log/event_texts.h"

using namespace morv;

extern "C" const char *MORVLogConvertType(int type, const char *language) noexcept {
    static TypeText text;
    find_type_text(uint8_t(type), language ? language : "enu", text);
    return text;
}
