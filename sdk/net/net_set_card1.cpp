#include <morvsdk/internal/net.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <span>

#include "core/base/fail.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"

using namespace morv;

namespace {

// An address and a netmask in normal form.
struct Addresses {
    char address[MORV_IP_TEXT_SIZE], netmask[MORV_IP_TEXT_SIZE];
};

// The text of a field that need not end in a zero byte; the caller may have filled it to the brim.
template <size_t N>
bool copy_field(char (&copy)[N + 1], const char (&field)[N]) noexcept {
    return copy_text(copy, {field, strnlen(field, N)});
}

bool read_addresses(const NET_CARD &card, Addresses &found) noexcept {
    char address[sizeof card.address + 1], netmask[sizeof card.netmask + 1];
    copy_field(address, card.address);
    copy_field(netmask, card.netmask);
    uint32_t number;
    if (!BlMLIBIsIpAddr(address) || !BlMLIBIsIpMask(netmask) || !parse_dotted(address, number)) return false;
    write_dotted(found.address, number);
    return copy_text(found.netmask, netmask);
}

bool has_same_addresses(const NET_CARD *previous, const Addresses &now) noexcept {
    if (!previous) return false;
    const KeptError before;
    Addresses old;
    const bool is_same = read_addresses(*previous, old) && strcmp(old.address, now.address) == 0 &&
                         strcmp(old.netmask, now.netmask) == 0;
    before.restore();
    return is_same;
}

void tell_ddns() noexcept {
    const int result = MORVDDNSDaemonAction(MORV_DDNS_RELOAD);
    if (result > 0) return;
    syslog(LOG_ERR, "%s(%d) : HUP ddnsd result: %s%s%s ", MORV_STEM, __LINE__, "",
           result == 0 ? "no such service or not enabled" : "", result == -1 ? "failed" : "");
}

// The interface has its address whether the default route can be mended or not.
void check_route() noexcept {
    const KeptError before;
    MORVILnxCheckRoute();
    before.restore();
}

int set_static(const char *name, const NET_CARD &card, const NET_CARD *previous) noexcept {
    Addresses addresses;
    if (!read_addresses(card, addresses)) {
        MORV_LOG(LOG_ERR, "%s cannot have this address or netmask", name);
        return -1;
    }
    if (MORVILnxSetIPNetmask(name, addresses.address, addresses.netmask) < 0) return -1;
    // They hold what the former network had brought.
    unlink(SysPath("/etc/ppp/old_gateway.bak").c_str());
    unlink(SysPath("/etc/resolv.conf.bak").c_str());
    if (!has_same_addresses(previous, addresses)) tell_ddns();
    check_route();
    return 0;
}

int set_dhcp(const char *name, const NET_CARD *previous) noexcept {
    const int result = MORVILnxSetDHCP(name);
    if (result == -1 && MORVRecoverIPSetting(name, previous) != 0) {
        syslog(LOG_ERR, "%s(%d): MORVIRecoverIPSetting failed.(%X)", MORV_STEM, __LINE__,
               unsigned(MLIBErrGet()));
    }
    if (result == 0) check_route();
    return result;
}

}  // namespace

extern "C" int MORVNetSetCard1(const NET_CARD *card, const NET_CARD *previous) noexcept {
    if (!card) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_WRITE);
    if (!lock.is_held()) return MORV_LOG_FAIL(LOG_ERR, ERR_LOCK_FAILED, -1, "ErrMLIBFileLock failed.");
    char name[sizeof card->name + 1];
    copy_field(name, card->name);
    return card->isStatic ? set_static(name, *card, previous) : set_dhcp(name, previous);
}
