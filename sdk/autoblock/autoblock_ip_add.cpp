#include <morvsdk/log.h>
#include <morvsdk/mail.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <string_view>

#include "autoblock/client_address.h"
#include "autoblock/deny_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"
#include "core/text/field_text.h"
#include "core/text/list_guard.h"
#include "core/text/trim.h"

using namespace morv;

static bool set_number(MLIBSZHASH **hash, const char *key, int number) noexcept {
    char text[16];
    snprintf(text, sizeof text, "%d", number);
    return MLIBSzHashSetValue(hash, key, text) >= 0;
}

static void send_mail(const char *address, time_t now, const MORV_AUTOBLOCK_CONF &conf) noexcept {
    char line[64], text[64] = "00:00:00";
    if (ctime_r(&now, line)) copy_text(text, trim_blanks(line));
    MLIBSZHASH *hash = PshMLIBSzHashAlloc(512);
    const bool good = hash && MLIBSzHashSetValue(&hash, "%AUTOBLOCK_TIME%", text) >= 0 &&
                      MLIBSzHashSetValue(&hash, "%CLIENT_IP%", address) >= 0 &&
                      set_number(&hash, "%AUTOBLOCK_ATTEMPTS%", conf.attempts) &&
                      set_number(&hash, "%AUTOBLOCK_ATTEMPT_MIN%", conf.attemptMin);
    const HashPtr words(hash);
    if (good) MORVMailSendEvent("AutoBlockAdd", hash);
}

extern "C" int MORVAutoBlockIPAdd(const char *address) noexcept {
    if (!address) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t number;
    if (!parse_client(address, number)) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    if (settings.allows(number)) return MORV_FAIL(ERR_ACCESS_DENIED, -1);
    AddressSet set;
    const uint32_t addresses[] = {number, 0};
    if (!set.fill(addresses)) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);

    const time_t now = time(nullptr);
    DenyChange change{.leaving = set, .lifetime = settings.lifetime(), .added = {addresses, 1}, .now = now};
    if (int code = change_deny_list(change)) return MORV_FAIL(code, -1);
    // Told when the block holds and without a lock: a mail may take long.
    report_damage(change);
    if (set.met() > 0) return 0;
    const Ipv4Text dotted(number);
    MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_WARNING, MORV_EVENT_ADDRESS_BLOCKED, dotted.text, nullptr, nullptr,
                nullptr);
    if (settings.conf().notify) send_mail(dotted.text, now, settings.conf());
    return 0;
}
