#include <morvsdk/file.h>
#include <morvsdk/net.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/family_lock.h"
#include "core/file/file_edit.h"
#include "core/file/last_line.h"
#include "core/file/sys_path.h"
#include "core/system/routes.h"
#include "core/text/key_lines.h"

using namespace morv;

static constexpr const char *kKey = "GATEWAY";

// That none is stored is no failure.
static int forget(const char *path) noexcept {
    FileEdit file;
    const int code = file.open(path, FileEdit::kMayCreate, ERR_READ_FAILED);
    if (code != 0 || !file.exists()) return code;
    return no_throw([&] {
        std::string content;
        return remove_key(file.text(), kKey, content) == 0 ? 0 : file.commit(content);
    });
}

extern "C" int MORVNetDefaultGatewaySet(const char *address) noexcept {
    // It is to become an operand of a command.
    if (address && *address == '-') return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    // The stored one and the kernel's change together.
    const FamilyLock lock(MORV_LOCK_NW | MORV_LOCK_WRITE);
    if (!lock.is_held()) return -1;
    const SysPath path("/etc/sysconfig/network");
    if (!address || !*address) {
        if (int code = forget(path.c_str())) return MORV_FAIL(code, -1);
        remove_default_route();
        return 0;
    }
    if (int code = end_last_line(path.c_str())) return MORV_FAIL(code, -1);
    if (MLIBFileSetKeyValue(path.c_str(), kKey, address, "%s=%s\n") != 1) return -1;
    if (set_default_route(address) != 0) return MORV_FAIL(ERR_OP_FAILURE, -1);
    return 0;
}
