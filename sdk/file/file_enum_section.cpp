#include <morvsdk/file.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/file/file_text.h"
#include "core/text/lines.h"
#include "core/text/sections.h"

using namespace morv;

extern "C" int MLIBFileEnumSection(const char *path, MLIBSZLIST **list) noexcept {
    constexpr size_t kLongestLine = 1023;
    if (!path || !list || !*list) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, -1);

    for (const std::string_view line : Lines(file.view())) {
        if (!is_section_line(line)) continue;
        if (line.size() > kLongestLine) return -1;
        const std::string_view text = up_to_nul(line);
        const size_t end = text.rfind(']');
        char name[kLongestLine + 1];
        memcpy(name, text.data() + 1, end - 1);
        name[end - 1] = '\0';
        if (MLIBSzListPush(list, name) < 0) return -1;
    }
    return (*list)->nItem;
}
