#include <morvsdk/internal/net.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/file_text.h"
#include "core/file/patience.h"
#include "core/file/sys_path.h"
#include "core/system/interfaces.h"
#include "core/text/field_text.h"
#include "core/text/key_lines.h"
#include "net/interface_file.h"

using namespace morv;

namespace {

constexpr unsigned kLeasePatience = 3;  // seconds

// Reads a text that is neither empty nor too long for its field.
bool read_field(std::string_view text, std::string_view key, std::span<char> field) noexcept {
    const std::string_view value = find_key_value(text, key);
    return !value.empty() && copy_text(field, value);
}

// Which of the two is missing is logged.
bool read_addresses(const char *path, bool waits, NET_CARD &card) noexcept {
    Patience patience(waits ? kLeasePatience : 0);
    bool has_address, has_netmask;
    do {
        // A lease is written by the client in its own time; what is only half of it is none yet.
        FileText file;
        const std::string_view text =
            file.load_bounded(SysPath(path).c_str(), kInterfaceFileMost) == 0 ? file.view() : "";
        has_address = read_field(text, "IPADDR", card.address);
        has_netmask = read_field(text, "NETMASK", card.netmask);
    } while ((!has_address || !has_netmask) && patience.wait());
    if (!has_address) syslog(LOG_ERR, "%s(%d) Get IP from %s fail", MORV_STEM, __LINE__, path);
    if (!has_netmask) syslog(LOG_ERR, "%s(%d) Get netmask from %s fail", MORV_STEM, __LINE__, path);
    return has_address && has_netmask;
}

// Answers 1, or 0 when it cannot be filled.
int fill(const NET_INTERFACE &entry, FamilyLock &lock, NET_CARD &card) noexcept {
    if (!is_interface_name(entry.name)) return 0;
    NET_CARD filled;
    memset(&filled, 0, sizeof filled);
    copy_text(filled.name, entry.name);
    memcpy(filled.hardware, entry.hardware, sizeof filled.hardware);
    filled.hasLink = (entry.link & 2) ? 1 : 0;
    filled.isStatic = BlMORVLnxIsDHCP(entry.name) ? 0 : 1;
    // The lease is the client's: who waits for it need not keep others from settings.
    if (!filled.isStatic) lock.release();
    const InterfaceFile file =
        filled.isStatic ? InterfaceFile::settings(entry.name) : InterfaceFile::lease(entry.name);
    if (!read_addresses(file.path(), !filled.isStatic, filled)) return 0;
    memcpy(&card, &filled, sizeof card);
    return 1;
}

bool has_address(const NET_INTERFACE &entry, const char *address) noexcept {
    char current[MORV_IP_TEXT_SIZE];
    return MORVILnxGetIP(entry.name, current, sizeof current) == 0 && strcmp(current, address) == 0;
}

}  // namespace

extern "C" int MORVNetGetCard1(int index, const char *address, NET_CARD *card) noexcept {
    if (!card || (!address && (index < 0 || index >= MORV_NET_MAX_CARDS)))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_READ);
    if (!lock.is_held()) return MORV_LOG_FAIL(LOG_ERR, ERR_LOCK_FAILED, -1, "ErrMLIBFileLock failed.");

    NET_INTERFACE entries[MORV_NET_MAX_CARDS];
    const int count = MLIBNetGetInterfaceInfo(entries, MORV_NET_MAX_CARDS, MORV_NET_BUT_SLAVES);
    if (count <= 0) {
        syslog(LOG_ERR, "%s(%d): %s", MORV_STEM, __LINE__,
               count == 0 ? "No interface." : "Get interface info fail.");
        return count;
    }
    if (!address) return index < count ? fill(entries[index], lock, *card) : 0;
    for (int i = 0; i < count; ++i) {
        if (has_address(entries[i], address)) return fill(entries[i], lock, *card);
    }
    return 0;
}
