// What a user, a group or a share may be called.
#pragma once

namespace morv {

// Whether `name` (null: no) has 1 to `most` UTF-8 characters, all of them beyond ASCII or ASCII letters,
// digits, ".", "-", "_" and blanks, begins with neither "-" nor a blank and ends with no blank. What is not
// valid UTF-8 is refused: it has no upper-cased form to be found under.
bool is_account_name(const char *name, int most) noexcept;

}  // namespace morv
