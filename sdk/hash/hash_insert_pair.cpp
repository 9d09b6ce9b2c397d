#include "core/base/fail.h"
#include "hash/hash_block.h"

extern "C" void MLIBIInsertPair(MLIBSZHASH *hash, const char *key, const char *value, int index) noexcept {
    if (!hash || !key || !value || index < 0 || index >= hash->nBucket || hash->bucket[index].pszKey) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, void());
    }
    const std::string_view key_text = key, value_text = value;
    if (key_text.size() + value_text.size() + 2 > size_t(hash->nFree)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, void());
    }
    morv::put_pair(*hash, key_text, value_text, index);
}
