#include "core/base/fail.h"
#include "hash/hash_block.h"

namespace {

bool copy_pair(MLIBSZHASH &to, std::string_view key, std::string_view value) {
    const int index = morv::place_bucket(to, key);
    if (index < 0) return false;
    const auto room = size_t(to.nFree);
    if (to.bucket[index].pszKey) {
        if (morv::is_longer(value, to.bucket[index]) && value.size() + 1 > room) return false;
        morv::put_value(to, value, index);
    } else {
        if (key.size() + value.size() + 2 > room) return false;
        morv::put_pair(to, key, value, index);
    }
    return true;
}

}  // namespace

extern "C" void MLIBICopyHash(const MLIBSZHASH *source, MLIBSZHASH *destination) noexcept {
    if (!source || !destination) return MORV_FAIL(ERR_BAD_PARAMETERS, void());
    for (int32_t i = 0; i < source->nBucket; ++i) {
        const MLIBSZHASHBUCKET &bucket = source->bucket[i];
        if (!bucket.pszKey) continue;
        if (!copy_pair(*destination, bucket.pszKey, bucket.pszValue)) {
            return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, void());
        }
    }
}
