// The system root: what stands in front of every absolute path that the library itself names.
#pragma once

#include <limits.h>

#include <string_view>

namespace morv {

// A path of the system below the system root: empty on an appliance, a folder when somebody works on an
// image or a copy. A path that would be too long becomes "", which no system call accepts.
class SysPath {
  public:
    explicit SysPath(const char *path) noexcept;
    const char *c_str() const noexcept { return text_; }

  private:
    char text_[PATH_MAX];
};

// Whether there is one: the system is then not the machine that this runs on.
bool has_system_root() noexcept;

// Whether an absolute path only leads downwards: no name in it is empty, "." or "..". Others may lead out
// of the system root.
bool leads_down(std::string_view path) noexcept;

// Makes `dir` (absolute, without a slash at its end; "" for none) the root.
void set_system_root(const char *dir) noexcept;

}  // namespace morv
