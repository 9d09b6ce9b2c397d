#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_append.h"
#include "core/text/hash_text.h"
#include "core/text/sections.h"

using namespace morv;

// Answers an error code; `added` tells whether the section was not there yet.
static int add_section(const char *path, const char *section, const MLIBSZHASH *hash, const char *format,
                       bool &added) {
    FileAppend file;
    if (int code = file.open(path)) return code;
    const std::string_view text = file.text();
    if (!find_section_line(text, section).empty()) return 0;
    // A section starts on a line of its own. An empty file counts as not ending in a line feed.
    std::string content = text.empty() || text.back() != '\n' ? "\n" : "";
    if (int code = append_hash(content, section, hash, format)) return code;
    added = true;
    return file.append(content);
}

extern "C" int ErrMLIBFileAddSection(const char *path, const char *section, const MLIBSZHASH *hash,
                                     const char *format) noexcept {
    if (!path || !section || !hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    bool added = false;
    const int code = no_throw([&] { return add_section(path, section, hash, format, added); });
    // A file that cannot be read to its end gives no code.
    if (code == ERR_READ_FAILED) return -1;
    if (code != 0) return MORV_FAIL(code, -1);
    return added;
}
