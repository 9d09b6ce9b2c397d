#include <morvsdk/internal/net.h>

#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/text/hosts_text.h"
#include "core/text/ipv4.h"

using namespace morv;

static int set_hosts(const char *path, const char *old_name, const char *name, const char *const *addresses) {
    std::vector<uint32_t> own;
    for (; *addresses; ++addresses) {
        own.emplace_back();
        if (!parse_dotted(*addresses, own.back())) return ERR_INVALID_NETNAME;
    }
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_READ_FAILED)) return code;
    std::string content;
    set_own_host(file.text(), old_name, name, own, content);
    return content == file.text() ? 0 : file.commit(content, FileEdit::kOwn);
}

extern "C" int MORVILnxSetHosts(const char *path, const char *old_name, const char *name,
                                const char *const *addresses) noexcept {
    if (!path || !old_name || !name || !addresses) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (!BlMLIBIsHostname(name)) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    if (int code = no_throw([&] { return set_hosts(path, old_name, name, addresses); }))
        return MORV_FAIL(code, -1);
    return 0;
}
