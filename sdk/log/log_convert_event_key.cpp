#include <morvsdk/log.h>
#include <string.h>

#include "core/base/no_throw.h"
#include "log/event_texts.h"

using namespace morv;

extern "C" char *MORVLogConvertEventKey(uint32_t event, const char *language, const char *argument1,
                                        const char *argument2, const char *argument3,
                                        const char *argument4) noexcept {
    const char *const text = find_event_text(event, language ? language : "enu");
    if (!text) return nullptr;
    const auto given = [](const char *argument) { return std::string_view(argument ? argument : ""); };
    char *sentence = nullptr;
    no_throw([&] {
        std::vector<Piece> pieces;
        split_text(text, pieces);
        std::string made;
        for_each_part(pieces, {given(argument1), given(argument2), given(argument3), given(argument4)},
                      [&made](std::string_view part) { made.append(part); });
        sentence = strdup(made.c_str());
        return 0;
    });
    return sentence;
}
