#include <morvsdk/internal/file.h>
#include <string.h>
#include <unistd.h>

static int counter;

extern "C" int MLIBFileITmpName(const char *prefix, char *buffer, int size) noexcept {
    if (!prefix || !buffer || size < 0) return -1;
    memset(buffer, 0, size_t(size));
    char suffix[128];
    snprintf(suffix, sizeof suffix, "%d-%d", int(getpid()), counter);
    counter = counter == INT32_MAX ? 0 : counter + 1;
    const size_t prefix_length = strlen(prefix);
    const size_t suffix_length = strlen(suffix);
    if (prefix_length + suffix_length + 1 > size_t(size)) return -1;
    memcpy(buffer, prefix, prefix_length);
    memcpy(buffer + prefix_length, suffix, suffix_length);
    return 0;
}
