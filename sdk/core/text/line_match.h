// Lines chosen by a pattern or by fields.
#pragma once

#include <morvsdk/list.h>

#include <string>
#include <string_view>

namespace morv {

// A pattern with its flags (MORV_LINE_...), prepared once for many lines.
class LinePattern {
  public:
    // Answers 0, ERR_BAD_PARAMETERS (null pattern, negative flags) or ERR_OUT_OF_MEMORY.
    int set(const char *pattern, int flags) noexcept;

    // Whether a line (its end at the first NUL) matches. Comments never do.
    // May throw std::bad_alloc.
    bool matches(std::string_view line);

  private:
    std::string pattern_;
    std::string upper_line_;
    int flags_ = 0;
    bool valid_ = true;
};

// Whether the pieces of a line, cut at any of `separators`, equal the items of `fields` (null: none), an
// empty item standing for any piece. Comments never do.
bool fields_match(std::string_view line, const MLIBSZLIST *fields, std::string_view separators) noexcept;

}  // namespace morv
