#include <morvsdk/error.h>
#include <stdio.h>
#include <unistd.h>

extern "C" void MLIBErrLogInitial(const char *path) noexcept {
    if (!path) return;
    FILE *log = fopen(path, "we");
    if (!log) return;
    fflush(log);
    fsync(fileno(log));
    fclose(log);
}
