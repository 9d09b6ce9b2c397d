#include "core/base/fail.h"
#include "hash/hash_block.h"

extern "C" int MLIBSzHashSetValue(MLIBSZHASH **ppHash, const char *key, const char *value) noexcept {
    if (!ppHash || !*ppHash || !key || !value) return -1;
    const std::string_view key_text = key;
    int index = morv::place_bucket(**ppHash, key_text);
    if (index < 0) return -1;
    const bool exists = (*ppHash)->bucket[index].pszKey != nullptr;
    MLIBSZHASH *const hash =
        (exists ? morv::update_value : morv::insert_pair)(*ppHash, key_text, value, index);
    if (!hash) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    *ppHash = hash;
    return index;
}
