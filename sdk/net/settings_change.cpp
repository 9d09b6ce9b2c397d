#include "net/settings_change.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include "core/file/last_line.h"

namespace morv {

bool SettingsChange::add(HashPtr &hash, const char *key, const char *value) noexcept {
    constexpr int kSize = 1024;
    if (!hash) hash.reset(PshMLIBSzHashAlloc(kSize));
    if (!hash) return false;
    MLIBSZHASH *moved = hash.release();
    const int result = MLIBSzHashSetValue(&moved, key, value);
    hash.reset(moved);
    return result >= 0;
}

bool SettingsChange::set(std::initializer_list<std::pair<const char *, const char *>> pairs) noexcept {
    for (const auto &[key, value] : pairs) {
        if (!add(set_, key, value)) return false;
    }
    return true;
}

bool SettingsChange::remove(std::initializer_list<const char *> keys) noexcept {
    for (const char *const key : keys) {
        if (!add(remove_, key, "")) return false;
    }
    return true;
}

int SettingsChange::write(const char *path) noexcept {
    if (int code = end_last_line(path)) return code;
    return MLIBFileSetKeys(path, set_.get(), remove_.get(), "%s=%s\n") < 0 ? MLIBErrGet() : 0;
}

}  // namespace morv
