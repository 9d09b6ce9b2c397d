#include <morvsdk/file.h>
#include <unistd.h>

extern "C" int MLIBSysRemove(const char *path) noexcept {
    return remove(path);
}
