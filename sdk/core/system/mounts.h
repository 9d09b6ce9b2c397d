// What is mounted where.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morv {

class Mounts {
  public:
    // Reads "/proc/mounts". Answers 0, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
    int load();

    // The mount point that an absolute path lies on; empty when none is known.
    std::string_view find(std::string_view path) const noexcept;

  private:
    std::vector<std::string> points_;
};

}  // namespace morv
