// A change of an interface's configuration file.
#pragma once

#include <initializer_list>
#include <utility>

#include "core/text/list_guard.h"

namespace morv {

class SettingsChange {
  public:
    // Answers whether there was memory for it.
    bool set(std::initializer_list<std::pair<const char *, const char *>> pairs) noexcept;
    bool remove(std::initializer_list<const char *> keys) noexcept;

    // Answers 0 or the code of what failed; the file is then as it was.
    int write(const char *path) noexcept;

  private:
    static bool add(HashPtr &hash, const char *key, const char *value) noexcept;

    HashPtr set_, remove_;
};

}  // namespace morv
