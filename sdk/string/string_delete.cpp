#include <morvsdk/string.h>

extern "C" int MLIBStrDelete(char *string, const char *find, char *dst, int size) noexcept {
    return MLIBStrReplace(string, find, "", dst, size);
}
