#include <morvsdk/net.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/family_lock.h"
#include "core/file/file_edit.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "core/system/routes.h"
#include "core/text/ipv4.h"
#include "core/text/key_lines.h"
#include "core/text/trim.h"

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

// Whether it can be stored in a line of its own, and be an operand of a command.
static bool is_usable(std::string_view address) noexcept {
    return !address.starts_with('-') && is_one_line(address) && !trim_blanks(address).empty();
}

static int set_gateway(const char *address) noexcept {
    const SysPath path("/etc/sysconfig/network");
    if (!address || !*address) {
        if (int code = forget(path.c_str())) return code;
        remove_default_route();
        return 0;
    }
    if (!is_usable(address)) return ERR_BAD_PARAMETERS;
    // What counts as an address has more forms than the tool knows.
    char normal[MORV_IP_TEXT_SIZE];
    if (uint32_t number; parse_dotted(address, number)) {
        write_dotted(normal, number);
        address = normal;
    }
    if (int code = set_key_value(path.c_str(), kKey, address, "%s=%s\n")) return code;
    return set_default_route(address) == 0 ? 0 : ERR_OP_FAILURE;
}

extern "C" int MORVNetDefaultGatewaySet(const char *address) noexcept {
    // The stored one and the kernel's change together.
    const FamilyLock lock(MORV_LOCK_NW | MORV_LOCK_WRITE);
    const int code = lock.is_held() ? set_gateway(address) : MLIBErrGet();
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to set the default gateway, morverr=[0x%04X]",
                         unsigned(code));
}
