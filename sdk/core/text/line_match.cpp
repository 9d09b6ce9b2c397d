#include "core/text/line_match.h"

#include <morvsdk/file.h>

#include "core/base/no_throw.h"
#include "core/text/case.h"
#include "core/text/lines.h"

namespace morv {

// Answers false for what is not valid UTF-8.
static bool upper_utf8(std::string_view text, std::string &out) {
    const std::string copy(text);
    const int64_t length = upper_length(copy.c_str());
    if (length < 0) return false;
    out.resize(size_t(length));
    upper_write(copy.c_str(), out.data());
    return true;
}

int LinePattern::set(const char *pattern, int flags) noexcept {
    if (!pattern || flags < 0) return ERR_BAD_PARAMETERS;
    flags_ = flags;
    return no_throw([&] {
        if (flags & MORV_LINE_NOCASE) {
            // A pattern that is not valid UTF-8 matches nothing.
            valid_ = upper_utf8(pattern, pattern_);
        } else {
            pattern_ = pattern;
        }
        return 0;
    });
}

bool LinePattern::matches(std::string_view line) {
    if (!valid_ || is_comment(line)) return false;
    line = up_to_nul(line);
    if (flags_ & MORV_LINE_NOCASE) {
        if (!upper_utf8(line, upper_line_)) return false;
        line = upper_line_;
    }
    if (flags_ & MORV_LINE_PREFIX) return line.starts_with(pattern_);
    if (flags_ & MORV_LINE_SUFFIX) {
        // Without a line feed there is no point that the pattern would have to stand before.
        const size_t feed = line.find('\n');
        return feed != line.npos && line.substr(0, feed).ends_with(pattern_);
    }
    return line.find(pattern_) != line.npos;
}

bool fields_match(std::string_view line, const MLIBSZLIST *fields, std::string_view separators) noexcept {
    if (is_comment(line)) return false;
    line = up_to_nul(line);
    for (int i = 0; fields && i < fields->nItem; ++i) {
        const size_t start = line.find_first_not_of(separators);
        if (start == line.npos) return false;
        line.remove_prefix(start);
        const std::string_view piece = line.substr(0, line.find_first_of(separators));
        const std::string_view wanted = fields->pszItem[i];
        if (!wanted.empty() && wanted != piece) return false;
        line.remove_prefix(piece.size());
    }
    return true;
}

}  // namespace morv
