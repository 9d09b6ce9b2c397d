// The end of a file of lines.
#pragma once

namespace morv {

// Gives the last line the line feed that it may lack, so that what is added behind it is a line of its own.
// A file that is missing is left so. Answers 0 or a code of FileAppend.
int end_last_line(const char *path) noexcept;

}  // namespace morv
