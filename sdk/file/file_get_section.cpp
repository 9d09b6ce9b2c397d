#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/text/sections.h"
#include "file/pair_lines.h"

using namespace morv;

extern "C" int MLIBFileGetSection(const char *path, const char *section, MLIBSZHASH **hash) noexcept {
    if (!path || !section || !hash || !*hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, -1);
    const std::string_view opening = find_section_line(file.view(), section);
    if (!opening.empty()) {
        if (int code = store_pairs(file, section_body(file.view(), opening), "", hash))
            return MORV_FAIL(code, -1);
    }
    return MLIBSzHashGetLength(*hash);
}
