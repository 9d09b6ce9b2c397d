#include <morvsdk/hash.h>

extern "C" int MLIBSzHashGetLength(const MLIBSZHASH *hash) noexcept {
    return hash ? hash->nPair : -1;
}
