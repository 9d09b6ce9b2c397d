// A change of an interface's configuration file.
#pragma once

#include <morvsdk/hash.h>

#include <initializer_list>
#include <memory>
#include <utility>

#include "core/base/guard.h"

namespace morv {

class SettingsChange {
  public:
    // Answers whether there was memory for it.
    bool set(std::initializer_list<std::pair<const char *, const char *>> pairs) noexcept;
    bool remove(std::initializer_list<const char *> keys) noexcept;

    // Answers 0 or the code of what failed; the file is then as it was.
    int write(const char *path) noexcept;

  private:
    using Hash = std::unique_ptr<MLIBSZHASH, Releaser<MLIBSzHashFree>>;
    static bool add(Hash &hash, const char *key, const char *value) noexcept;

    Hash set_, remove_;
};

}  // namespace morv
