// get_key_value FILE KEY: prints the value that a key has, for start-up scripts. docs/man/get_key_value.1
#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// As in morvctl.
enum { kDone = 0, kNotFound = 1, kUsage = 2, kFailed = 6 };

// Reads the value into a block that the caller frees. The result is the library's.
static int read_value(const char *path, const char *key, char **value) {
    for (;;) {
        const int size = MLIBFileGetKeyValue(path, key, nullptr, 0, 0);
        if (size <= 0) return size;
        *value = static_cast<char *>(malloc(size_t(size)));
        if (!*value) return -1;
        const int got = MLIBFileGetKeyValue(path, key, *value, size, 0);
        if (got > 0) return got;
        free(*value);
        // A longer value has been set in the meantime.
        if (got < 0 && MLIBErrGet() == ERR_NOT_ENOUGH_MEMORY) continue;
        return got;
    }
}

static const char *error_name() {
    const int index = MLIBErrGet() >> 8;
    return index < errNum && rgszErrMsg[index] ? rgszErrMsg[index] : "unknown error";
}

int main(int argc, char **argv) {
    if (argc != 3) {
        fputs("usage: get_key_value FILE KEY\n", stderr);
        return kUsage;
    }
    char *value = nullptr;
    errno = 0;
    const int result = read_value(argv[1], argv[2], &value);
    if (result == 0) return kNotFound;
    if (result < 0) {
        fprintf(stderr, "get_key_value: cannot read %s: %s (%s)\n", argv[1],
                errno ? strerror(errno) : "no regular file", error_name());
        return kFailed;
    }
    const bool printed = puts(value) >= 0 && fflush(stdout) == 0;
    if (!printed) perror("get_key_value: cannot write to standard output");
    free(value);
    return printed ? kDone : kFailed;
}
