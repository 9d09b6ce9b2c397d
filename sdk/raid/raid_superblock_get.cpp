#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/device_name.h"
#include "core/storage/superblock_text.h"
#include "core/text/field_text.h"
#include "raid/examine.h"

using namespace morv;

static int read_superblock(const char *device, SuperblockText &found) {
    std::string output;
    if (const int code = examine("/sbin/mdadm -E -b %s", device, output)) return code;
    if (output.empty()) return ERR_PATH_NOT_FOUND;
    found = parse_superblock(output);
    if (found.has_path && found.has_uuid) return 0;
    output.resize(output.find('\n') == output.npos ? output.size() : output.find('\n'));
    MORV_LOG(LOG_DEBUG, "unexpected line [%s] produced by [/sbin/mdadm -E -b %s]", output.c_str(), device);
    return ERR_FORMAT_ERROR;
}

extern "C" int RAIDSBGet(const char *device, RAID_SB *pSB) noexcept {
    if (!device || !is_device(device) || !pSB)
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    SuperblockText found;
    const int code = no_throw([&] { return read_superblock(device, found); });
    if (code == ERR_PATH_NOT_FOUND) return 0;
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to examine %s, errno=%m", device);
        return MORV_FAIL(code, -1);
    }
    copy_text(pSB->szUUID, found.sb.szUUID);
    copy_text(pSB->szPath, found.sb.szPath);
    return 1;
}
