#include "core/file/key_value.h"

#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/text/case.h"
#include "core/text/key_lines.h"
#include "core/text/trim.h"

namespace morv {

bool has_key_value(const char *path, std::string_view key, std::string_view value) noexcept {
    FileText file;
    if (file.load(SysPath(path).c_str()) != 0) return false;
    const KeyLine line = parse_key_line(find_key_line(file.view(), key));
    return line.has_value && ascii_equal(trim(line.value), value);
}

}  // namespace morv
