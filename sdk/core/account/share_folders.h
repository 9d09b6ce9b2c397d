// Where the folders of shares lie: as the kernel finds them, whatever the spelling of a path and the links
// on the way. Paths are those of the configuration, below the system root. May throw std::bad_alloc.
#pragma once

#include <string_view>

namespace morv {

// Whether two paths lead to the same place.
bool is_same_place(std::string_view a, std::string_view b);

// Whether a folder is neither the system's own, nor in such a one, nor holds one.
bool may_be_shared(std::string_view path);

// Whether the folder may be moved or removed with its share: not that of the users' homes, not a mount
// point.
bool may_be_taken_away(std::string_view path);

// Whether a section of the configuration, other than the share's with this upper-cased name, has a path
// that is the folder, lies in it, or leads through it.
bool is_needed_by_others(std::string_view path, std::string_view conf, std::string_view own_key);

// Whether such a section has this very path.
bool is_path_of_others(std::string_view path, std::string_view conf, std::string_view own_key);

}  // namespace morv
