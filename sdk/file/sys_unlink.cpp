#include <morvsdk/file.h>
#include <unistd.h>

extern "C" int MLIBSysUnlink(const char *path) noexcept {
    return unlink(path);
}
