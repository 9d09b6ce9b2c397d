#include <morvsdk/hash.h>
#include <stdlib.h>

extern "C" void MLIBSzHashFree(MLIBSZHASH *hash) noexcept {
    free(hash);
}
