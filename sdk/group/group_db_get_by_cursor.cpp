#include "core/account/group_mirror.h"
#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/store/records.h"

using namespace morv;

extern "C" int MORVGroupDBGetByCursor(MORVGROUPDB *db, MORVGROUP **ppGroup) noexcept {
    if (!db || !ppGroup) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    void *key = nullptr;
    void *value = nullptr;
    int key_size = 0;
    int value_size = 0;
    const int result = MORVBDbCursorGet(db->pName, 1, &key, &key_size, &value, &value_size);
    const MallocPtr<void> key_guard(key);
    const MallocPtr<void> value_guard(value);
    if (result != 0) return MORV_FAIL(MLIBErrGet(), -1);
    const std::string_view line(static_cast<const char *>(value), static_cast<size_t>(value_size));
    const int code = make_group(stored_text(line), ppGroup);
    return code ? MORV_FAIL(code, -1) : 0;
}
