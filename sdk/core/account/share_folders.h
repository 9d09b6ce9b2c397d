// Where the folders of shares lie: as the kernel finds them, whatever the spelling of a path and the links
// on the way. Paths are those of the configuration, below the system root. May throw std::bad_alloc.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morv {

// Whether two paths lead to the same place.
bool is_same_place(std::string_view a, std::string_view b);

// The folders that are the system's own, looked up once for many questions.
class SystemFolders {
  public:
    SystemFolders();

    // Whether a folder is neither such a one, nor in one, nor holds one.
    bool admit(std::string_view path) const;

  private:
    std::string root_, services_;
    std::vector<std::string> folders_;
};

// Whether the folder may be moved or removed with its share: not that of the users' homes, not a mount
// point.
bool may_be_taken_away(std::string_view path);

// Whether a section of the configuration, other than the share's with this upper-cased name, has a path
// that is the folder, lies in it, or leads through it.
bool is_needed_by_others(std::string_view path, std::string_view conf, std::string_view own_key);

// Whether such a section has this very path.
bool is_path_of_others(std::string_view path, std::string_view conf, std::string_view own_key);

}  // namespace morv
