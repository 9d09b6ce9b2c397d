// Any text as an address, a netmask, a network and a name: what is found valid has the form that others read,
// stays valid and the same when it is judged again, and no other text is changed.
#include <arpa/inet.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/net.h>
#include <stddef.h>

#include <algorithm>
#include <vector>

#include "input.h"

namespace {

// A C string without room to spare, for the sanitizer to notice one byte too many.
std::vector<char> exact(const std::string &text, size_t room = 0) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.resize(std::max(text.size() + 1, room));
    return bytes;
}

uint32_t address_of(const char *text) {
    in_addr address;
    expect(inet_pton(AF_INET, text, &address) == 1);
    return ntohl(address.s_addr);
}

std::string dotted(const int32_t numbers[4]) {
    std::string text;
    for (int i = 0; i < 4; ++i)
        text += (i > 0 ? "." : "") + std::to_string(numbers[i]);
    return text;
}

void check_address(const std::string &text) {
    int32_t numbers[4];
    const int found = cMLIBISepIP(text.c_str(), numbers);
    const int is = BlMLIBIsIpAddr(text.c_str());
    expect(found == 4 || found == -1);
    if (is == 1) {
        const uint32_t address = address_of(dotted(numbers).c_str());
        expect(found == 4 && BlMLIBIsIpAddr(dotted(numbers).c_str()) == 1 && address >> 24 != 127);
    }
    in_addr plain;
    if (inet_pton(AF_INET, text.c_str(), &plain) == 1) expect(found == 4 && dotted(numbers) == text);
}

void check_mask(const std::string &text) {
    std::vector<char> mask = exact(text);
    const int is = BlMLIBIsIpMask(mask.data());
    const std::string normal = mask.data();
    if (is != 1) {
        expect(is == 0 && normal == text);
        return;
    }
    const uint32_t host = ~address_of(normal.c_str());
    expect((host & (host + 1)) == 0);
    int32_t numbers[4];
    expect(cMLIBISepIP(text.c_str(), numbers) == 4 && dotted(numbers) == normal);
    const int prefix = cMLIBICalMask(numbers[0], numbers[1], numbers[2], numbers[3]);
    expect(prefix >= 1 && uint64_t{host} + 1 == uint64_t{1} << (32 - prefix));
}

void check_network(const std::string &text, const std::string &mask_text) {
    std::vector<char> network = exact(text), mask = exact(mask_text);
    const int is = BlMLIBIsSubNet(network.data(), mask_text.c_str());
    if (is != 1) {
        expect(is == 0 && network.data() == text);
        return;
    }
    expect(BlMLIBIsIpMask(mask.data()) == 1);
    expect((address_of(network.data()) & ~address_of(mask.data())) == 0);
}

void check_conversions(const std::string &text) {
    char by_prefix[MORV_SUBNET_TEXT_SIZE], by_mask[MORV_SUBNET_TEXT_SIZE], again[MORV_SUBNET_TEXT_SIZE];
    std::vector<char> first = exact(text), second = exact(text, MORV_SUBNET_TEXT_SIZE);
    if (ErrMLIBIpMaskToSubnet(first.data(), by_prefix) == 0) {
        expect(ErrMLIBIpMaskToSubnet(first.data(), nullptr) == 0 && std::string(first.data()) == by_prefix);
        expect(ErrMLIBSubnetToIpMask(by_prefix, by_mask) == 0);
        expect(ErrMLIBIpMaskToSubnet(by_mask, again) == 0 && std::string(again) == by_prefix);
    }
    if (ErrMLIBSubnetToIpMask(second.data(), by_mask) == 0) {
        expect(ErrMLIBSubnetToIpMask(second.data(), nullptr) == 0 && std::string(second.data()) == by_mask);
        expect(ErrMLIBIpMaskToSubnet(by_mask, by_prefix) == 0);
        std::string network = by_mask;
        const size_t slash = network.find('/');
        network[slash] = '\0';
        expect(BlMLIBIsSubNet(network.data(), network.data() + slash + 1) == 1);
    }
}

void check_names(const std::string &text) {
    const size_t dot = text.find('.'), at = text.find('@');
    const std::string before_dot = text.substr(0, dot);
    const bool is_domain = text.size() <= 512 && BlMLIBIsAtom(before_dot.c_str()) == 1 &&
                           (dot == text.npos || BlMLIBIsDomain(text.c_str() + dot + 1) == 1);
    expect(BlMLIBIsDomain(text.c_str()) == (is_domain ? 1 : 0));
    const bool is_mailbox = text.size() <= 512 && at != text.npos &&
                            BlMLIBIsDomain(text.substr(0, at).c_str()) == 1 &&
                            BlMLIBIsDomain(text.c_str() + at + 1) == 1;
    expect(BlMLIBIsMailbox(text.c_str()) == (is_mailbox ? 1 : 0));
    if (BlMLIBIsHostname(text.c_str()) == 1) expect(text.size() <= 15 && BlMLIBIsAtom(text.c_str()) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view input(reinterpret_cast<const char *>(data), size);
    // White space may stand in a text, so that the texts end at "|".
    const size_t bar = input.find('|');
    const std::string text(std::string(input.substr(0, bar)).c_str());
    const std::string mask(bar == input.npos ? "" : std::string(input.substr(bar + 1)).c_str());
    check_address(text);
    check_mask(mask);
    check_network(text, mask);
    check_conversions(text);
    check_names(text);
    return 0;
}
