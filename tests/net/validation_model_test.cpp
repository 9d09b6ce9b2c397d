// The validators beside a model of them that takes texts apart with the standard library, over many texts.
// Another run of texts: --gtest_random_seed=N.
#include <ctype.h>
#include <morvsdk/internal/net.h>
#include <string.h>

#include <algorithm>
#include <bitset>
#include <charconv>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/outcome.h"

using namespace testing_support;

namespace {

// ---- The model -------------------------------------------------------------------------------------------

using Numbers = std::vector<int64_t>;

std::vector<std::string> pieces(const std::string &text, char separator) {
    std::vector<std::string> all;
    size_t begin = 0;
    for (size_t end; (end = text.find(separator, begin)) != text.npos; begin = end + 1)
        all.push_back(text.substr(begin, end - begin));
    all.push_back(text.substr(begin));
    return all;
}

std::optional<int64_t> number(const std::string &text) {
    // Some C libraries know "0b1" as well.
    const size_t zero = text.find('0');
    if (zero != text.npos && zero + 1 < text.size() && strchr("bB", text[zero + 1])) return {};
    char *end;
    const long long value = strtoll(text.c_str(), &end, 0);
    if (end == text.c_str() || *end != '\0' || value != int32_t(value)) return {};
    return value;
}

// Four numbers of at least `least` and at most `most`.
std::optional<Numbers> four(const std::string &text, int64_t least, int64_t most) {
    Numbers numbers;
    for (const std::string &piece : pieces(text, '.')) {
        const std::optional<int64_t> value = number(piece);
        if (!value || *value < least || *value > most) return {};
        numbers.push_back(*value);
    }
    if (numbers.size() != 4) return {};
    return numbers;
}

std::optional<Numbers> octets(const std::string &text, int64_t most = 255) {
    return text.size() > 31 ? std::nullopt : four(text, 0, most);
}

std::string bits(const Numbers &octets) {
    std::string all;
    for (const int64_t octet : octets)
        all += std::bitset<8>(uint64_t(octet)).to_string();
    return all;
}

size_t prefix(const Numbers &mask) {
    const std::string all = bits(mask);
    return all.find("01") == all.npos ? size_t(std::count(all.begin(), all.end(), '1')) : 0;
}

std::string dotted(const Numbers &numbers, const Numbers &mask = {255, 255, 255, 255}) {
    std::string text;
    for (size_t i = 0; i < 4; ++i)
        text += (i ? "." : "") + std::to_string(numbers[i] & mask[i]);
    return text;
}

Numbers mask_of(size_t prefix) {
    const std::string all = std::string(prefix, '1') + std::string(32 - prefix, '0');
    Numbers mask;
    for (size_t i = 0; i < 32; i += 8)
        mask.push_back(int64_t(std::bitset<8>(all, i, 8).to_ulong()));
    return mask;
}

bool is_address(const std::string &text) {
    const std::optional<Numbers> numbers = octets(text);
    if (!numbers) return false;
    const int64_t first = (*numbers)[0];
    return first != 0 && first != 127 && first < 224 && (*numbers)[3] != 255;
}

std::optional<std::string> normal_mask(const std::string &text) {
    const std::optional<Numbers> mask = octets(text);
    if (!mask || prefix(*mask) == 0) return {};
    return dotted(*mask);
}

std::optional<std::string> normal_network(const std::string &text, const std::string &mask_text) {
    const std::optional<Numbers> network = octets(text), mask = octets(mask_text);
    if (!network || !mask || prefix(*mask) == 0) return {};
    if (bits(*network).find('1', prefix(*mask)) != std::string::npos) return {};
    return dotted(*network);
}

// "ADDRESS/REST", or nothing.
std::vector<std::string> subnet_pieces(const std::string &text) {
    std::vector<std::string> parts = pieces(text, '/');
    if (parts.size() != 2 || text.size() > 64 || !octets(parts[0], 254)) parts.clear();
    return parts;
}

std::optional<std::string> with_prefix(const std::string &text) {
    const std::vector<std::string> parts = subnet_pieces(text);
    if (parts.empty() || !normal_mask(parts[1])) return {};
    const Numbers mask = *octets(parts[1]);
    return dotted(*octets(parts[0]), mask) + "/" + std::to_string(prefix(mask));
}

std::optional<std::string> with_mask(const std::string &text) {
    const std::vector<std::string> parts = subnet_pieces(text);
    const std::optional<int64_t> length = parts.empty() ? std::nullopt : number(parts[1]);
    if (!length || *length < 1 || *length > 32) return {};
    const Numbers mask = mask_of(size_t(*length));
    return dotted(*octets(parts[0]), mask) + "/" + dotted(mask);
}

bool is_atom(const std::string &text) {
    return !text.empty() &&
           text.find_first_of(
               "\1\2\3\4\5\6\7\b\t\n\v\f\r\16\17\20\21\22\23\24\25\26\27\30\31\32\33\34\35\36\37 "
               "\"(),.:;<>[\\]@") == text.npos;
}

bool is_domain(const std::string &text) {
    if (text.size() > 512) return false;
    for (const std::string &label : pieces(text, '.')) {
        if (!is_atom(label)) return false;
    }
    return true;
}

bool is_mailbox(const std::string &text) {
    const std::vector<std::string> parts = pieces(text, '@');
    return parts.size() == 2 && text.size() <= 512 && is_domain(parts[0]) && is_domain(parts[1]);
}

bool is_hostname(const std::string &text) {
    static const std::string kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789-";
    return !text.empty() && text.size() <= 15 && text.find_first_not_of(kPlain) == text.npos &&
           kPlain.find(text[0]) <= kPlain.find('_');
}

// ---- Texts -----------------------------------------------------------------------------------------------

class Texts {
  public:
    explicit Texts(uint32_t seed) : random_(seed) {}

    size_t below(size_t end) { return random_() % end; }
    bool one_in(size_t count) { return below(count) == 0; }
    template <class T, size_t N>
    const T &any(const T (&of)[N]) {
        return of[below(N)];
    }

    std::string number(int64_t value) {
        static constexpr struct {
            const char *mark;
            int base;
        } kForms[] = {{"", 10},   {"", 10},   {"", 10},     {"0", 8},
                      {"000", 8}, {"0x", 16}, {"0x00", 16}, {"0X", 16}};
        const auto &form = value < 0 ? kForms[0] : any(kForms);
        char digits[24] = {};
        std::to_chars(digits, digits + sizeof digits, value, form.base);
        std::string text = std::string(form.mark) + digits;
        if (one_in(4)) std::transform(text.begin(), text.end(), text.begin(), ::toupper);
        static constexpr const char *kBefore[] = {" ",  "+", "-",  "\t\n", "\v\f\r",  " +",
                                                  "+ ", "0", "0x", "0b",   "00000000"};
        return (one_in(12) ? any(kBefore) : "") + text;
    }

    std::string address() {
        static constexpr int64_t kEdges[] = {0,
                                             1,
                                             126,
                                             127,
                                             128,
                                             223,
                                             224,
                                             253,
                                             254,
                                             255,
                                             256,
                                             -1,
                                             INT32_MAX,
                                             INT32_MIN,
                                             INT64_C(2147483648),
                                             INT64_C(4294967297)};
        std::string text;
        for (size_t i = 0, count = one_in(20) ? below(6) : 4; i < count; ++i) {
            const bool odd = one_in(8);
            text += (i > 0 ? "." : "") + number(odd ? any(kEdges) : int64_t(below(255)));
        }
        return text;
    }

    std::string mask() {
        Numbers octets = mask_of(below(33));
        if (one_in(10)) octets[below(4)] = int64_t(below(257));
        std::string text;
        for (size_t i = 0; i < 4; ++i)
            text += (i > 0 ? "." : "") + number(octets[i]);
        return text;
    }

    // An address that mostly is that of a network of the mask.
    std::string network(const std::string &mask) {
        const std::optional<Numbers> bits = octets(mask);
        if (!bits || one_in(4)) return address();
        Numbers octets;
        std::string text;
        for (size_t i = 0; i < 4; ++i)
            text += (i > 0 ? "." : "") + number((*bits)[i] & int64_t(below(256)));
        return text;
    }

    std::string name() {
        static constexpr const char *kParts[] = {"a",    "Z", "9", "_", "-",    "host",     "mail",
                                                 ".",    ".", "@", "~", "\x7f", "\xc3\xbc", "\xff",
                                                 "\x80", "!", "{", "`", "/",    "^"};
        std::string text = one_in(5) ? std::string(12 + below(5), 'h') : "";
        for (size_t count = text.empty() ? below(12) : 0; count > 0; --count)
            text += any(kParts);
        if (one_in(50)) text += std::string(505 + below(16) - std::min<size_t>(text.size(), 100), 'a');
        return text;
    }

    // The same, or with some bytes changed, put in or left out.
    std::string spoilt(std::string text) {
        static constexpr char kBytes[] =
            "0123456789abfxXB..//+- \t\n\v\f\r@_\"(),:;<>[\\]\x01\x1f\x7f\x80\xff";
        for (size_t count = one_in(3) ? 1 + below(3) : 0; count > 0; --count) {
            const size_t at = below(text.size() + 1);
            const char byte = one_in(8) ? char(1 + below(255)) : kBytes[below(sizeof kBytes - 1)];
            text.replace(at, below(2), below(3), byte);
        }
        last.push_back(text);
        return text;
    }

    std::vector<std::string> last;  // what came out of the latest calls of spoilt()

  private:
    std::mt19937 random_;
};

// ---- Both of them ----------------------------------------------------------------------------------------

// Stops at the first texts that the library and the model judge differently.
void for_many_texts(int count, void (*check)(Texts &texts)) {
    const auto seed = uint32_t(GTEST_FLAG_GET(random_seed));
    Texts texts(seed);
    for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
        texts.last.clear();
        check(texts);
    }
    EXPECT_FALSE(testing::Test::HasFailure()) << testing::PrintToString(texts.last) << ", seed " << seed;
}

// What a function that may rewrite its text answers, and leaves of the text, which has no room to spare.
void expect_rewritten(const std::string &text, const std::optional<std::string> &expected,
                      int (*rewrite)(char *, const std::string &), const std::string &other = "",
                      size_t room = 0) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.resize(std::max(text.size() + 1, room));
    EXPECT_TRUE(gives(expected ? 1 : 0, expected ? 0 : ERR_INVALID_NETNAME, rewrite(bytes.data(), other)));
    EXPECT_STREQ(bytes.data(), expected.value_or(text).c_str());
}

TEST(ValidationModel, JudgesDottedTextsTheSame) {
    for_many_texts(40000, [](Texts &texts) {
        const std::string text = texts.spoilt(texts.address());
        const std::optional<Numbers> expected = four(text.substr(0, 31), INT32_MIN, INT32_MAX);
        int32_t numbers[] = {7, 7, 7, 7};
        EXPECT_TRUE(
            gives(expected ? 4 : -1, expected ? 0 : ERR_INVALID_NETNAME, cMLIBISepIP(text.c_str(), numbers)));
        EXPECT_EQ(Numbers(numbers, numbers + 4), expected.value_or(Numbers{7, 7, 7, 7}));
        const bool is = is_address(text);
        EXPECT_TRUE(gives(is ? 1 : 0, is ? 0 : ERR_INVALID_NETNAME, BlMLIBIsIpAddr(text.c_str())));
    });
}

TEST(ValidationModel, JudgesNetmasksTheSame) {
    for_many_texts(20000, [](Texts &texts) {
        const std::string text = texts.spoilt(texts.mask());
        expect_rewritten(text, normal_mask(text),
                         [](char *mask, const std::string &) { return BlMLIBIsIpMask(mask); });
        const std::optional<Numbers> numbers = four(text, INT32_MIN, INT32_MAX);
        if (!numbers) return;
        const size_t length = four(text, 0, 255) ? prefix(*numbers) : 0;
        const auto at = [&](size_t i) { return int32_t((*numbers)[i]); };
        EXPECT_TRUE(gives(int(length), length > 0 ? 0 : ERR_INVALID_NETNAME,
                          cMLIBICalMask(at(0), at(1), at(2), at(3))));
    });
}

TEST(ValidationModel, JudgesNetworksTheSame) {
    for_many_texts(20000, [](Texts &texts) {
        const std::string mask = texts.spoilt(texts.mask());
        const std::string text = texts.spoilt(texts.network(mask));
        expect_rewritten(
            text, normal_network(text, mask),
            [](char *network, const std::string &other) { return BlMLIBIsSubNet(network, other.c_str()); },
            mask);
    });
}

TEST(ValidationModel, ConvertsTheSame) {
    for_many_texts(40000, [](Texts &texts) {
        const bool by_mask = texts.one_in(2);
        const std::string rest = by_mask ? texts.mask() : texts.number(int64_t(texts.below(35)));
        const std::string text = texts.spoilt(texts.address() + "/" + rest);
        expect_rewritten(text, with_prefix(text), [](char *at, const std::string &) {
            return ErrMLIBIpMaskToSubnet(at, nullptr) + 1;
        });
        expect_rewritten(
            text, with_mask(text),
            [](char *at, const std::string &) { return ErrMLIBSubnetToIpMask(at, nullptr) + 1; }, "",
            MORV_SUBNET_TEXT_SIZE);
    });
}

TEST(ValidationModel, JudgesNamesTheSame) {
    for_many_texts(40000, [](Texts &texts) {
        const std::string text = texts.spoilt(texts.name());
        const char *const at = text.c_str();
        EXPECT_TRUE(gives(is_atom(text), 0, BlMLIBIsAtom(at) == 1));
        EXPECT_TRUE(gives(is_domain(text), 0, BlMLIBIsDomain(at) == 1));
        EXPECT_TRUE(gives(is_mailbox(text), 0, BlMLIBIsMailbox(at) == 1));
        EXPECT_TRUE(gives(is_hostname(text), 0, BlMLIBIsHostname(at) == 1));
    });
}

}  // namespace
