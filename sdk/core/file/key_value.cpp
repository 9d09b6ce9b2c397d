#include "core/file/key_value.h"

#include <errno.h>

#include <string>

#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/text/case.h"
#include "core/text/field_text.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

bool has_key_value(const char *path, std::string_view key, std::string_view value) noexcept {
    FileText file;
    if (file.load(SysPath(path).c_str()) != 0) return false;
    const KeyLine line = parse_key_line(find_key_line(file.view(), key));
    return line.has_value && ascii_equal(trim(line.value), value);
}

int set_key_value(const char *path, std::string_view key, std::string_view value,
                  const char *format) noexcept {
    if (!is_key(key) || !is_one_line(value)) return ERR_BAD_PARAMETERS;
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_WRITE_FAILED)) return code;
    return no_throw([&] {
        std::string lines(file.text()), content;
        if (!lines.empty() && lines.back() != '\n') lines += '\n';
        if (int code = set_key(lines, key, value, format, content)) return code;
        return file.commit(content, FileEdit::kOwn);
    });
}

int read_key_value(const char *path, std::string_view key, std::span<char> value) noexcept {
    constexpr size_t kMost = size_t{1} << 20;
    FileText file;
    if (int code = file.load_bounded(path, kMost)) return code;
    const KeyLine line = parse_key_line(find_key_line(file.view(), key));
    if (!line.has_value) return ERR_KEY_NOT_FOUND;
    return copy_text(value, trim(up_to_nul(line.value))) ? 0 : ERR_NOT_ENOUGH_MEMORY;
}

bool is_not_stored(int code) noexcept {
    return code == ERR_KEY_NOT_FOUND || (code == ERR_OPEN_FAILED && errno == ENOENT);
}

}  // namespace morv
