#include <morvsdk/file.h>

extern "C" int MLIBSysRename(const char *from, const char *to) noexcept {
    return rename(from, to);
}
