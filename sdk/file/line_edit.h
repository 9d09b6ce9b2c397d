// What the functions on lines share: finding the line that counts, and rewriting a file line by line.
#pragma once

#include <morvsdk/file.h>

#include <string>
#include <string_view>

#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/text/line_match.h"
#include "core/text/lines.h"

namespace morv {

// The first line of `text` for which `matches` holds, or with MORV_LINE_LAST in `flags` the last one. data()
// is null when there is none.
template <class Matches>
std::string_view find_line(std::string_view text, int flags, Matches matches) {
    std::string_view found;
    for (const std::string_view line : Lines(text)) {
        if (!matches(line)) continue;
        found = line;
        if (!(flags & MORV_LINE_LAST)) break;
    }
    return found;
}

// `text` with `line` and a line feed put in front of position `at`.
std::string with_line_at(std::string_view text, size_t at, std::string_view line);

// `text` with `line` put before or, with MORV_LINE_AFTER in `flags`, after `neighbour`, a line of it.
std::string with_line_beside(std::string_view text, std::string_view neighbour, std::string_view line,
                             int flags);

// Opens the file at `path`, which must exist, and appends what each line becomes with `each(line, out)`,
// which answers how many changes it made. Commits when there was any, and tells their number. Answers an
// error code.
template <class F>
int edit_lines(const char *path, int &changes, F each) noexcept {
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMustExist, ERR_READ_FAILED)) return code;
    return no_throw([&] {
        std::string content;
        content.reserve(file.text().size() + 256);
        for (const std::string_view line : Lines(file.text()))
            changes += each(line, content);
        return changes > 0 ? file.commit(content) : 0;
    });
}

}  // namespace morv
