#include <morvsdk/internal/file.h>

extern "C" int ErrMLIBFileRemoveSection(const char *path, const char *section) noexcept {
    return ErrMLIBIFileModifySection(path, section, nullptr, nullptr, 0, nullptr);
}
