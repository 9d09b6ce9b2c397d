#include <morvsdk/internal/file.h>

extern "C" int MLIBIFileSetKeyValue(const char *path, const char *key, const char *value,
                                    const char *format) noexcept {
    const int result = MLIBFileSetKeyValue(path, key, value, format);
    return result == 0 ? MLIBFileAppendKey(path, key, value, format) : result;
}
