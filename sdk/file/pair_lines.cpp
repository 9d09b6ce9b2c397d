#include "file/pair_lines.h"

#include <morvsdk/errcodes.h>
#include <morvsdk/string.h>
#include <string.h>

#include "core/text/lines.h"
#include "core/text/trim.h"
#include "file/list_guard.h"

namespace morv {

int store_pairs(FileText &file, std::string_view part, const char *skipped, MLIBSZHASH **hash) noexcept {
    bool bad_line = false;
    for (std::string_view line : Lines(part)) {
        if (strchr(skipped, line[0]) && line[0]) continue;
        // Without its end, or a value of nothing but blanks would end on the next line's first byte.
        line = without_line_feed(up_to_nul(line));
        const size_t equals = line.find('=');
        const std::string_view key = equals == line.npos ? std::string_view() : trim(line.substr(0, equals));
        if (key.empty()) {
            bad_line = true;
            continue;
        }
        const std::string_view value = trim(line.substr(equals + 1));
        char *const key_text = file.data() + (key.data() - file.data());
        char *const value_text = file.data() + (value.data() - file.data());
        key_text[key.size()] = '\0';
        value_text[value.size()] = '\0';
        if (MLIBSzHashSetValue(hash, key_text, value_text) < 0) return ERR_OUT_OF_MEMORY;
    }
    if (bad_line) {
        // Callers have come to see the splitter's error after a file with such lines. Raised once, not for
        // each.
        const ListPtr scratch(PslMLIBSzListAlloc(512));
        if (!scratch) return ERR_OUT_OF_MEMORY;
        MLIBSZLIST *list = scratch.get();
        MLIBStrSepPair("=", &list);
    }
    return 0;
}

}  // namespace morv
