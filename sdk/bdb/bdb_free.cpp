#include <morvsdk/bdb.h>
#include <stdlib.h>

extern "C" void MORVBDbFree(void *buffer) noexcept {
    free(buffer);
}
