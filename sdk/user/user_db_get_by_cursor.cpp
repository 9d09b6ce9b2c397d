#include "core/account/user_mirror.h"
#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"

using namespace morv;

extern "C" int MORVUserDBGetByCursor(MORVUSERDB *db, MORVUSER **ppUser) noexcept {
    if (!db || !ppUser) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    void *key = nullptr;
    void *value = nullptr;
    int key_size = 0;
    int value_size = 0;
    const int result = MORVBDbCursorGet(db->pName, 1, &key, &key_size, &value, &value_size);
    const MallocPtr<void> key_guard(key);
    const MallocPtr<void> value_guard(value);
    if (result != 0) return MORV_FAIL(MLIBErrGet(), -1);
    const int code = no_throw([&] {
        UserText text;
        const std::string name(stored_text({static_cast<const char *>(key), static_cast<size_t>(key_size)}));
        const int failed = find_user(*mirror_of(db), name.c_str(), &text);
        return failed ? failed : make_user(text, ppUser);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
