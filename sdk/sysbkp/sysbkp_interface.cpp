#include <morvsdk/error.h>
#include <morvsdk/internal/sysbkp.h>
#include <morvsdk/net.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "core/file/replacement_file.h"
#include "core/system/interfaces.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"
#include "sysbkp/block.h"

using namespace morv;

namespace {

// The table of kinds does not have it: an address is a matter of one appliance.
constexpr int32_t kId = 0x4, kVersion = 7;

struct Interface {
    NET_CARD card = {};
    uint32_t gateway = 0;  // 0: none is stored
};

// Answers 0 or -1, which is told.
int fail(const char *what) noexcept {
    tell_problem("%s: %s", what, code_text(MLIBErrGet()));
    return -1;
}

uint32_t address_of(const char *text) noexcept {
    uint32_t address = 0;
    return parse_dotted(text, address) ? address : 0;
}

int read_gateway(uint32_t &gateway) noexcept {
    char text[256];
    gateway = 0;
    if (MORVNetDefaultGatewayGetConf(text, sizeof text) == 0) {
        gateway = address_of(text);
        return 0;
    }
    const int code = MLIBErrGet();
    return code == ERR_KEY_NOT_FOUND || code == ERR_OPEN_FAILED ? 0 : fail("the gateway cannot be read");
}

int gather(ItemWriter &items) {
    Interface found;
    const int answer = MORVNetGetCard1(0, nullptr, &found.card);
    if (answer < 0) return fail("the first interface cannot be read");
    if (answer == 0) {
        tell_problem("there is no interface with an address");
        return -1;
    }
    if (read_gateway(found.gateway) != 0) return -1;
    const NET_CARD &card = found.card;
    char text[256];
    snprintf(text, sizeof text, "N:%s:%08uX:%08uX:%08uX:%c:%c:%02X:%02X:%02X:%02X:%02X:%02X:\n", card.name,
             address_of(card.address), address_of(card.netmask), found.gateway, card.isStatic ? 'S' : 'D',
             card.hasLink ? '1' : '0', card.hardware[0], card.hardware[1], card.hardware[2], card.hardware[3],
             card.hardware[4], card.hardware[5]);
    items.put_string(text);
    return 0;
}

int write_whole(int fd, const ItemWriter &items) noexcept {
    const int32_t head[] = {kId, kVersion, 0};
    if (MORVSysbkpRawIntWrite(fd, head, sizeof head) != sizeof head) {
        BACKUP_LOG("fail to write header");
        return -1;
    }
    const int64_t start = lseek(fd, 0, SEEK_CUR);
    if (start < 0 || !write_all(fd, items.bytes())) {
        BACKUP_LOG("fail to write interface");
        return -1;
    }
    if (MORVSysbkpIWriteBlkSize(fd, start, start + int64_t(items.bytes().size())) == 0) return 0;
    BACKUP_LOG("fail to write block size");
    return -1;
}

// Takes the last field away from a text of fields that each end in ":"; false when there is none.
bool take_last(std::string_view &text, std::string_view &field) noexcept {
    if (!text.ends_with(':')) return false;
    text.remove_suffix(1);
    const size_t colon = text.rfind(':');
    if (colon == text.npos) return false;
    field = text.substr(colon + 1);
    text = text.substr(0, colon + 1);
    return true;
}

template <class T>
bool parse(std::string_view digits, int base, T &number) noexcept {
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    return error == std::errc() && end == digits.data() + digits.size();
}

// From its end, as the name of an interface may have ":" in it.
bool parse_line(std::string_view text, Interface &found) noexcept {
    if (!text.ends_with('\n')) return false;
    text.remove_suffix(1);
    NET_CARD &card = found.card;
    std::string_view field;
    for (size_t i = std::size(card.hardware); i-- > 0;) {
        if (!take_last(text, field) || field.size() != 2 || !parse(field, 16, card.hardware[i])) return false;
    }
    std::string_view link, boot;
    if (!take_last(text, link) || (link != "0" && link != "1")) return false;
    if (!take_last(text, boot) || (boot != "S" && boot != "D")) return false;
    card.hasLink = link == "1";
    card.isStatic = boot == "S";
    uint32_t numbers[3];
    for (size_t i = std::size(numbers); i-- > 0;) {
        if (!take_last(text, field) || field.size() < 9 || !field.ends_with('X')) return false;
        field.remove_suffix(1);
        if (!parse(field, 10, numbers[i])) return false;
    }
    constexpr std::string_view kOpening = "N:";
    if (!text.starts_with(kOpening) || !text.ends_with(':') || text.size() <= kOpening.size()) return false;
    text.remove_prefix(kOpening.size());
    text.remove_suffix(1);
    if (!copy_text(card.name, text) || !is_interface_name(card.name)) return false;
    write_dotted(card.address, numbers[0]);
    write_dotted(card.netmask, numbers[1]);
    found.gateway = numbers[2];
    return true;
}

// Answers 0 or -1, which is told.
int check(const Interface &wanted) noexcept {
    const auto is_bad = [](const char *what, const char *address) {
        tell_problem("%s: %s is none", what, address);
        return -1;
    };
    if (wanted.card.isStatic) {
        if (BlMLIBIsIpAddr(wanted.card.address) != 1) return is_bad("address", wanted.card.address);
        if (prefix_of(address_of(wanted.card.netmask)) == 0) return is_bad("netmask", wanted.card.netmask);
    }
    char gateway[MORV_IP_TEXT_SIZE];
    write_dotted(gateway, wanted.gateway);
    return wanted.gateway == 0 || BlMLIBIsIpAddr(gateway) == 1 ? 0 : is_bad("gateway", gateway);
}

// Whether there is an interface of that name, as it is now.
bool find_card(const char *name, NET_CARD &card) noexcept {
    for (int i = 0; i < MORV_NET_MAX_CARDS; ++i) {
        if (MORVNetGetCard1(i, nullptr, &card) == 1 && strcmp(card.name, name) == 0) return true;
    }
    return false;
}

bool is_same(const NET_CARD &a, const NET_CARD &b) noexcept {
    if (!a.isStatic || !b.isStatic) return a.isStatic == b.isStatic;
    return address_of(a.address) == address_of(b.address) && address_of(a.netmask) == address_of(b.netmask);
}

int apply(ItemReader &items) noexcept {
    const char *const text = items.take_string();
    if (check_items(items) != 0) return -1;
    Interface wanted;
    if (!parse_line(text, wanted)) {
        tell_problem("interface: its line is malformed");
        return -1;
    }
    if (check(wanted) != 0) return -1;
    NET_CARD now;
    const bool is_known = find_card(wanted.card.name, now);
    if ((!is_known || !is_same(now, wanted.card)) &&
        MORVNetSetCard1(&wanted.card, is_known ? &now : nullptr) != 0)
        return fail(wanted.card.name);
    uint32_t gateway;
    if (read_gateway(gateway) != 0) return -1;
    // That none was stored is no reason to lose the way out.
    if (wanted.gateway == 0 || gateway == wanted.gateway) return 0;
    char address[MORV_IP_TEXT_SIZE];
    write_dotted(address, wanted.gateway);
    return MORVNetDefaultGatewaySet(address) == 0 ? 0 : fail(address);
}

}  // namespace

extern "C" int MORVSysbkpInterfaceExport(int fd) noexcept {
    const int code = no_throw([&] {
        ItemWriter items;
        return gather(items) == 0 ? write_whole(fd, items) : -1;
    });
    if (code > 0) tell_problem("%s", code_text(code));
    return code == 0 ? 0 : -1;
}

extern "C" int MORVSysbkpInterfaceImport(int fd, int version, int) noexcept {
    if (version != kVersion) {
        tell_problem("it has version %d, and only version %d is known", version, kVersion);
        return -1;
    }
    return import_block(fd, kId, version, apply);
}
