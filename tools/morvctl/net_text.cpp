#include "morvctl/net_text.h"

#include <arpa/inet.h>
#include <morvsdk/internal/net.h>
#include <string.h>

#include <bit>

#include "morvctl/output.h"

namespace morvctl {

namespace {

std::string quoted(const std::string &text) {
    return "'" + escape(text) + "'";
}

std::string dotted(const int32_t (&numbers)[4]) {
    std::string text = std::to_string(numbers[0]);
    for (int i = 1; i < 4; ++i)
        text.append(".").append(std::to_string(numbers[i]));
    return text;
}

// Takes a dotted text apart; else, or when a number is none of a byte, the reason is set.
bool split(const std::string &text, const char *what, int32_t (&numbers)[4], Verdict &verdict) {
    if (text.size() > 31 || cMLIBISepIP(text.c_str(), numbers) != 4) {
        verdict.reason =
            quoted(text) + " is no " + what + ": that is four numbers with a point between each two";
        return false;
    }
    for (const int32_t number : numbers) {
        if (number >= 0 && number <= 255) continue;
        verdict.reason = quoted(text) + " is no " + what + ": " + std::to_string(number) +
                         " is not a number from 0 to 255";
        return false;
    }
    return true;
}

// What keeps a text from being one label of a name; "" when nothing does.
std::string label_fault(std::string_view label) {
    if (label.empty()) return "nothing stands before, behind or between its points";
    for (const char c : label) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte == ' ') return "it holds a blank";
        if (byte < ' ') return "it holds a control character";
        if (strchr("\"(),.:;<>[\\]@", c)) return std::string("it holds a '") + c + "'";
    }
    return "it is not a valid one";
}

std::string domain_fault(std::string_view text) {
    if (text.empty()) return "it is empty";
    if (text.size() > 512) return "it has more than 512 bytes";
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find('.', start), text.size());
        const std::string label(text.substr(start, end - start));
        if (BlMLIBIsAtom(label.c_str()) != 1) return label_fault(label);
        start = end + 1;
    }
    return "it is not a valid one";
}

Verdict refused(const std::string &text, const char *what, const std::string &fault) {
    return {"", quoted(text) + " is no " + what + ": " + fault};
}

}  // namespace

Verdict judge_address(const std::string &text) {
    constexpr char kWhat[] = "IPv4 address of a host";
    Verdict verdict;
    int32_t numbers[4];
    if (!split(text, "IPv4 address", numbers, verdict)) return verdict;
    if (BlMLIBIsIpAddr(text.c_str()) == 1) {
        verdict.normal = dotted(numbers);
        return verdict;
    }
    const std::string address = dotted(numbers);
    if (numbers[0] == 0) return refused(text, kWhat, "it begins with 0, as the addresses of no network do");
    if (numbers[0] == 127) return {"", address + " stays inside a machine: 127 is its loopback"};
    if (numbers[0] >= 224 && numbers[0] < 240) return {"", address + " is a multicast address, no host's"};
    if (numbers[0] >= 240) return {"", address + " is reserved: the first number is 223 at most"};
    if (numbers[3] == 255) return {"", address + " ends in 255, which is no address of a host"};
    return refused(text, kWhat, "the library refuses it");
}

Verdict judge_netmask(const std::string &text) {
    Verdict verdict;
    int32_t numbers[4];
    if (!split(text, "netmask", numbers, verdict)) return verdict;
    std::string normal = text;
    if (BlMLIBIsIpMask(normal.data()) == 1) {
        verdict.normal.assign(normal, 0, strlen(normal.c_str()));
        return verdict;
    }
    return refused(text, "netmask",
                   (numbers[0] | numbers[1] | numbers[2] | numbers[3]) == 0
                       ? "it has no one bit"
                       : "one bits stand behind zero bits");
}

Verdict judge_subnet(const std::string &text) {
    const size_t slash = text.find('/');
    if (slash == text.npos)
        return refused(text, "network", "a netmask or a prefix length is missing, as in 10.0.0.0/8");
    std::string network = text.substr(0, slash);
    const std::string given = text.substr(slash + 1);
    std::string netmask = netmask_of_prefix(given);
    if (netmask.empty()) {
        if (given.find('.') == given.npos) {
            return refused(text, "network",
                           quoted(given) + " is neither a netmask nor a prefix length from 1 to 32");
        }
        Verdict verdict = judge_netmask(given);
        if (!verdict.is_valid()) return verdict;
        netmask = verdict.normal;
    }
    Verdict verdict;
    int32_t numbers[4];
    if (!split(network, "IPv4 address", numbers, verdict)) return verdict;
    const uint32_t mask = parse_ipv4(netmask);
    const std::string prefix = "/" + std::to_string(prefix_of(mask));
    if (BlMLIBIsSubNet(network.data(), netmask.c_str()) == 1) {
        verdict.normal.assign(network, 0, strlen(network.c_str())).append(prefix);
        return verdict;
    }
    const uint32_t address = parse_ipv4(dotted(numbers));
    if ((address & ~mask) == 0) return refused(text, "network", "the library refuses it");
    return {"", dotted(numbers) + prefix + " is no network: the one that it lies in is " +
                    ipv4_text(address & mask) + prefix};
}

Verdict judge_host(const std::string &text) {
    constexpr char kWhat[] = "host name";
    if (BlMLIBIsHostname(text.c_str()) == 1) return {};
    if (text.empty()) return refused(text, kWhat, "it is empty");
    if (text.size() > 15) {
        return refused(text, kWhat,
                       "it has " + std::to_string(text.size()) + " characters, and 15 are the most");
    }
    constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const size_t odd = text.find_first_not_of(std::string(kLetters) + "0123456789-_");
    if (odd != text.npos) return refused(text, kWhat, "it holds more than letters, digits, '-' and '_'");
    return refused(text, kWhat, "it does not begin with a letter or '_'");
}

Verdict judge_domain(const std::string &text) {
    if (BlMLIBIsDomain(text.c_str()) == 1) return {};
    return refused(text, "domain name", domain_fault(text));
}

Verdict judge_mail(const std::string &text) {
    constexpr char kWhat[] = "mail address";
    if (BlMLIBIsMailbox(text.c_str()) == 1) return {};
    const size_t at = text.find('@');
    if (at == text.npos) return refused(text, kWhat, "it has no '@'");
    if (text.find('@', at + 1) != text.npos) return refused(text, kWhat, "it has more than one '@'");
    if (text.size() > 512) return refused(text, kWhat, "it has more than 512 bytes");
    const std::string local = text.substr(0, at);
    const bool is_local = BlMLIBIsDomain(local.c_str()) != 1;
    return refused(text, kWhat,
                   std::string(is_local ? "before" : "behind") + " the '@', " +
                       domain_fault(is_local ? local : text.substr(at + 1)));
}

std::string netmask_of_prefix(std::string_view text) {
    if (text.starts_with('/')) text.remove_prefix(1);
    if (text.empty() || text.size() > 2 || text.find_first_not_of("0123456789") != text.npos) return "";
    int prefix = 0;
    for (const char c : text)
        prefix = prefix * 10 + (c - '0');
    return prefix < 1 || prefix > 32 ? "" : ipv4_text(~uint32_t{0} << (32 - prefix));
}

uint32_t parse_ipv4(const std::string &text) {
    in_addr address;
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? ntohl(address.s_addr) : 0;
}

std::string ipv4_text(uint32_t address) {
    char text[INET_ADDRSTRLEN];
    const in_addr in{htonl(address)};
    return inet_ntop(AF_INET, &in, text, sizeof text);
}

int prefix_of(uint32_t netmask) {
    return std::countl_one(netmask);
}

}  // namespace morvctl
