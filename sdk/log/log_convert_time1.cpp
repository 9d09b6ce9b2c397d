#include <morvsdk/log.h>

#include "core/text/field_text.h"
#include "log/event_texts.h"

using namespace morv;

extern "C" const char *MORVLogConvertTime1(int64_t time) noexcept {
    static char text[48];
    TimeText local;
    copy_text(text, local.of(time));
    return text;
}
