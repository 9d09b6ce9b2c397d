#include <morvsdk/file.h>
#include <unistd.h>

extern "C" int MLIBSysRmdir(const char *path) noexcept {
    return rmdir(path);
}
