#include "file/pair_lines.h"

#include <morvsdk/errcodes.h>
#include <morvsdk/string.h>
#include <string.h>

#include "core/text/lines.h"
#include "core/text/list_guard.h"
#include "core/text/sections.h"
#include "core/text/trim.h"

namespace morv {

int store_pairs(FileText &file, std::string_view part, const char *skipped, MLIBSZHASH **hash) noexcept {
    bool bad_line = false;
    for (std::string_view line : Lines(part)) {
        if (strchr(skipped, line[0]) && line[0]) continue;
        line = up_to_nul(line);
        const size_t equals = line.find('=');
        const std::string_view key = equals == line.npos ? std::string_view() : trim(line.substr(0, equals));
        if (key.empty()) {
            bad_line = true;
            continue;
        }
        const char *const value = make_c_text(file, trim(line.substr(equals + 1)));
        if (MLIBSzHashSetValue(hash, make_c_text(file, key), value) < 0) return ERR_OUT_OF_MEMORY;
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

int read_section(const char *path, const char *section, const char *skipped, MLIBSZHASH **hash) noexcept {
    FileText file;
    if (int code = file.load(path)) return code;
    const std::string_view opening = find_section_line(file.view(), section);
    if (opening.empty()) return 0;
    return store_pairs(file, section_body(file.view(), opening), skipped, hash);
}

}  // namespace morv
