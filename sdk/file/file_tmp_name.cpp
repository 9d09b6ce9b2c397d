#include <morvsdk/internal/file.h>
#include <string.h>
#include <unistd.h>

static int counter;

extern "C" int MLIBFileITmpName(const char *prefix, char *buffer, int size) noexcept {
    if (!prefix || !buffer || size < 0) return -1;
    memset(buffer, 0, size_t(size));
    const int length = snprintf(buffer, size_t(size), "%s%d-%d", prefix, int(getpid()), counter);
    counter = counter == INT32_MAX ? 0 : counter + 1;
    if (length >= 0 && length < size) return 0;
    memset(buffer, 0, size_t(size));
    return -1;
}
