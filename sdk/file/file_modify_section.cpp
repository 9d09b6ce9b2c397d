#include <morvsdk/internal/file.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/text/hash_text.h"
#include "core/text/lines.h"
#include "core/text/sections.h"

using namespace morv;

// Makes the new content. Comments of a replaced section stay: nobody but their author knows what they are
// worth.
static void modify_section(std::string_view text, const char *section, std::string_view replacement,
                           std::string &out) {
    out.reserve(text.size() + replacement.size());
    bool inside = false;
    for (const std::string_view line : Lines(text)) {
        if (is_section_line(line)) {
            inside = opens_section(line, section);
            if (inside) {
                out.append(replacement);
                continue;
            }
        }
        if (!inside || is_comment(line)) out.append(line);
    }
}

static int rewrite(const char *path, const char *section, const char *new_name, const MLIBSZHASH *hash,
                   int flags, const char *format, bool &found) {
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMustExist, ERR_READ_FAILED)) return code;
    std::string replacement;
    found = !find_section_line(file.text(), section).empty();
    if (found && (flags & MORV_SECTION_WRITE)) {
        if (int code = append_hash(replacement, new_name ? new_name : section, hash, format)) return code;
    }
    std::string content;
    modify_section(file.text(), section, replacement, content);
    return file.commit(content);
}

extern "C" int ErrMLIBIFileModifySection(const char *path, const char *section, const char *new_name,
                                         const MLIBSZHASH *hash, int flags, const char *format) noexcept {
    if (!path || !section) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    bool found = false;
    const int code = no_throw([&] { return rewrite(path, section, new_name, hash, flags, format, found); });
    if (code != 0) return MORV_FAIL(code, -1);
    return found ? 1 : MORV_FAIL(ERR_KEY_NOT_FOUND, 0);
}
