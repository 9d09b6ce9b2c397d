#include <morvsdk/internal/hash.h>

#include <algorithm>

extern "C" MLIBSZHASH *PshMLIBSzHashAlloc(int size) noexcept {
    return PshMLIBIHashAllocator(31, std::max(size, 512));
}
