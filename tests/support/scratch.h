// A folder of a test's own, made the system root and removed at the end.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

class ScratchRoot {
  public:
    ScratchRoot();
    ~ScratchRoot();
    ScratchRoot(const ScratchRoot &) = delete;
    ScratchRoot &operator=(const ScratchRoot &) = delete;

    const std::string &dir() const { return dir_; }

    // "etc/passwd" -> "<root>/etc/passwd"; the folders on the way are made.
    std::string path(std::string_view name) const;

    // Writes a file below the root and answers its path.
    std::string write(std::string_view name, std::string_view content, mode_t mode = 0644) const;

    std::string read(std::string_view name) const;

    // The names in a folder below the root, sorted; "" for the root itself.
    std::vector<std::string> names(std::string_view folder = "") const;

  private:
    std::string dir_;
};

std::string read_file(const std::string &path);
void write_file(const std::string &path, std::string_view content, mode_t mode = 0644);

// What stat(2) says of a path, a link followed; all zero when it fails.
struct stat stat_of(const std::string &path);
unsigned mode_of(const std::string &path);

// The open descriptors of this process, to see that a call leaks none.
int open_descriptors();

}  // namespace testing_support
