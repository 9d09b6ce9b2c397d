#include <morvsdk/file.h>
#include <sys/stat.h>

extern "C" int BlMLIBFileExist(const char *path) noexcept {
    struct stat st;
    return path && stat(path, &st) == 0 && S_ISREG(st.st_mode);
}
