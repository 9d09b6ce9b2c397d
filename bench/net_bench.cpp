// The judgement of addresses and names, beside inet_pton on the same texts; that of names, on dotted texts of the
// same lengths.
#include <arpa/inet.h>
#include <morvsdk/internal/net.h>
#include <stdio.h>
#include <string.h>

#include <random>

#include "bench.h"

namespace bench {

namespace {

constexpr size_t kTexts = 1000;

using Texts = std::vector<std::string>;

uint32_t address_of(const char *text) {
    in_addr address = {};
    inet_pton(AF_INET, text, &address);
    return ntohl(address.s_addr);
}

std::string dotted(uint32_t address) {
    char text[INET_ADDRSTRLEN];
    const in_addr network = {htonl(address)};
    return inet_ntop(AF_INET, &network, text, sizeof text);
}

std::string mask_of(size_t i) {
    return dotted(~uint32_t{0} << (24 - i % 24));
}

// Addresses of interfaces with one to three digits in each number.
Texts addresses() {
    std::mt19937 random(6);
    Texts texts;
    while (texts.size() < kTexts) {
        const std::string text = dotted(uint32_t(random()));
        if (BlMLIBIsIpAddr(text.c_str()) == 1) texts.push_back(text);
    }
    return texts;
}

// Of each of the texts a name of the same length: labels of letters, with one "at" in the place of a dot.
Texts names_like(const Texts &texts, char label, char first_dot, char dot) {
    Texts all;
    for (std::string name : texts) {
        for (char &c : name)
            c = c != '.' ? label : dot;
        if (const size_t at = name.find(dot); at != name.npos) name[at] = first_dot;
        all.push_back(name);
    }
    return all;
}

// Hands over how many of the texts `judge` accepts. The texts may be rewritten.
template <class Judge>
auto count(Texts texts, Judge judge) {
    return [texts, judge](auto see) mutable {
        int valid = 0;
        for (size_t i = 0; i < kTexts; ++i)
            valid += judge(texts[i].data(), i);
        see(valid);
    };
}

int pton(const char *text) {
    in_addr address;
    const int valid = inet_pton(AF_INET, text, &address);
    benchmark::DoNotOptimize(&address);
    return valid;
}

// The same as the library's conversions for texts in normal form, by the functions of libc.
int mask_to_prefix_bare(const char *text, char *to) {
    char copy[64];
    in_addr address, mask;
    strcpy(copy, text);
    char *const slash = strchr(copy, '/');
    *slash = '\0';
    if (inet_pton(AF_INET, copy, &address) != 1 || inet_pton(AF_INET, slash + 1, &mask) != 1) return 0;
    address.s_addr &= mask.s_addr;
    inet_ntop(AF_INET, &address, to, INET_ADDRSTRLEN);
    return sprintf(to + strlen(to), "/%d", __builtin_popcount(mask.s_addr)) > 0;
}

int prefix_to_mask_bare(const char *text, char *to) {
    char copy[64];
    in_addr address;
    strcpy(copy, text);
    char *const slash = strchr(copy, '/');
    *slash = '\0';
    if (inet_pton(AF_INET, copy, &address) != 1) return 0;
    const in_addr mask = {htonl(~uint32_t{0} << (32 - strtol(slash + 1, nullptr, 10)))};
    address.s_addr &= mask.s_addr;
    inet_ntop(AF_INET, &address, to, INET_ADDRSTRLEN);
    char *const end = to + strlen(to);
    *end = '/';
    return inet_ntop(AF_INET, &mask, end + 1, INET_ADDRSTRLEN) != nullptr;
}

template <class Ours, class Floor>
void compare_texts(const char *work, const Texts &ours, Ours judge, const Texts &floor, Floor bare) {
    compare(work, std::to_string(kTexts)).side("ours", count(ours, judge)).side("floor", count(floor, bare));
}

template <class Convert>
auto into_buffer(Convert convert) {
    return [convert](char *text, size_t) {
        char result[MORV_SUBNET_TEXT_SIZE];
        const int done = convert(text, result);
        benchmark::DoNotOptimize(&result);
        return done;
    };
}

const Area net([] {
    const Texts plain = addresses();
    Texts masks, networks, with_mask, with_prefix;
    for (size_t i = 0; i < kTexts; ++i) {
        masks.push_back(mask_of(i));
        networks.push_back(dotted(address_of(plain[i].c_str()) & address_of(masks[i].c_str())));
        std::string below_255 = plain[i];
        for (size_t at; (at = below_255.find("255")) != below_255.npos;)
            below_255[at + 2] = '4';
        with_mask.push_back(below_255 + "/" + masks[i]);
        with_prefix.push_back(below_255 + "/" + std::to_string(24 - i % 24));
    }
    const auto bare = [](char *text, size_t) { return pton(text); };

    compare_texts(
        "net_split", plain,
        [](char *text, size_t) {
            int32_t numbers[4];
            const int found = cMLIBISepIP(text, numbers);
            benchmark::DoNotOptimize(&numbers);
            return found == 4;
        },
        plain, bare);
    compare_texts(
        "net_address", plain, [](char *text, size_t) { return BlMLIBIsIpAddr(text); }, plain, bare);
    compare_texts(
        "net_mask", masks, [](char *text, size_t) { return BlMLIBIsIpMask(text); }, masks, bare);
    compare_texts(
        "net_network", networks,
        [masks](char *text, size_t i) { return BlMLIBIsSubNet(text, masks[i].c_str()); }, networks,
        [masks](char *text, size_t i) { return pton(text) & pton(masks[i].c_str()); });
    compare_texts("net_mask_to_prefix", with_mask,
                  into_buffer([](char *text, char *to) { return ErrMLIBIpMaskToSubnet(text, to) == 0; }),
                  with_mask, into_buffer(mask_to_prefix_bare));
    compare_texts("net_prefix_to_mask", with_prefix,
                  into_buffer([](char *text, char *to) { return ErrMLIBSubnetToIpMask(text, to) == 0; }),
                  with_prefix, into_buffer(prefix_to_mask_bare));

    compare_texts(
        "net_atom", names_like(plain, 'a', '-', '-'), [](char *text, size_t) { return BlMLIBIsAtom(text); },
        plain, bare);
    compare_texts(
        "net_domain", names_like(plain, 'a', '.', '.'),
        [](char *text, size_t) { return BlMLIBIsDomain(text); }, plain, bare);
    compare_texts(
        "net_mailbox", names_like(plain, 'a', '@', '.'),
        [](char *text, size_t) { return BlMLIBIsMailbox(text); }, plain, bare);
    compare_texts(
        "net_hostname", names_like(plain, 'a', '-', '-'),
        [](char *text, size_t) { return BlMLIBIsHostname(text); }, plain, bare);
});

}  // namespace

}  // namespace bench
