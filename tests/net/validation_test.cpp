// Which texts are addresses, netmasks and names, what becomes of them, and what is left of those that are not.
#include <limits.h>
#include <morvsdk/internal/net.h>
#include <string.h>

#include <array>
#include <string>
#include <vector>

#include "support/outcome.h"

using namespace testing_support;

namespace {

using Numbers = std::array<int32_t, 4>;

// A text on the heap without room to spare, so that one byte too many is noticed.
class Exact {
  public:
    explicit Exact(const std::string &text, size_t room = 0) : bytes_(text.begin(), text.end()) {
        bytes_.resize(std::max(text.size() + 1, room), '\0');
    }
    char *data() { return bytes_.data(); }
    std::string text() const { return bytes_.data(); }

  private:
    std::vector<char> bytes_;
};

std::string times(size_t count, const char *text) {
    std::string all;
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST(SplittingDottedTexts, TakesFourNumbersInEveryNotation) {
    static const struct {
        std::string text;
        Numbers numbers;
    } kTexts[] = {
        {"192.168.1.10", {192, 168, 1, 10}},
        {"0.00.0x0.-0", {0, 0, 0, 0}},
        {"0x0A.012.0XfF.0377", {10, 10, 255, 255}},
        {" 1.\t2.\n\v\f\r3.+4", {1, 2, 3, 4}},
        {"-1.-0x10.-010.256", {-1, -16, -8, 256}},
        {"2147483647.-2147483648.0.99999", {INT32_MAX, INT32_MIN, 0, 99999}},
        // Only the first 31 characters count, wherever that ends.
        {"1.2.3." + times(24, "0") + "45", {1, 2, 3, 4}},
        {"1.2.3." + times(24, "0") + "4 and more", {1, 2, 3, 4}},
    };
    for (const auto &text : kTexts) {
        Numbers numbers;
        EXPECT_TRUE(gives(4, 0, cMLIBISepIP(text.text.c_str(), numbers.data()))) << text.text;
        EXPECT_EQ(numbers, text.numbers) << text.text;
    }
}

TEST(SplittingDottedTexts, RefusesWhatAreNotFourNumbersAndLeavesTheOutputAlone) {
    const std::string texts[] = {"",
                                 ".",
                                 "...",
                                 "1.2.3",
                                 "1.2.3.",
                                 ".1.2.3",
                                 "1..2.3",
                                 "1.2.3.4.",
                                 "1.2.3.4.5",
                                 "1.2.3.4 ",
                                 "1 .2.3.4",
                                 "1.2.3. ",
                                 "1.2.3.+",
                                 "1.2.+-3.4",
                                 "1.2.- 3.4",
                                 "1.2.0x.4",
                                 "1.2.3.0x",
                                 "1.2.0xg.4",
                                 "1.2.3.08",
                                 "1.2.3.a",
                                 "1.2.3.0b1",
                                 "1,2,3,4",
                                 "1.2.3.2147483648",
                                 "-2147483649.2.3.4",
                                 "1.2.3.4\x80",
                                 "1.2.3.\xc2\xa0"
                                 "4",
                                 "1.2.3.99999999999999999999999",
                                 "1.0x100000001.3.4",
                                 "1.2.3." + times(24, "0") + "x"};
    for (const std::string &text : texts) {
        Numbers numbers = {7, 7, 7, 7};
        EXPECT_TRUE(gives(-1, ERR_INVALID_NETNAME, cMLIBISepIP(text.c_str(), numbers.data()))) << text;
        EXPECT_EQ(numbers, (Numbers{7, 7, 7, 7})) << text;
    }
}

TEST(PrefixOfANetmask, IsTheNumberOfItsLeadingOnes) {
    for (int prefix = 1; prefix <= 32; ++prefix) {
        Numbers octets;
        for (int i = 0; i < 4; ++i)
            octets[size_t(i)] = 256 - (256 >> std::clamp(prefix - 8 * i, 0, 8));
        EXPECT_TRUE(gives(prefix, 0, cMLIBICalMask(octets[0], octets[1], octets[2], octets[3])));
    }
    static constexpr Numbers kNone[] = {
        {0, 0, 0, 0},        {255, 0, 255, 0},     {127, 255, 255, 255},   {255, 255, 255, 253},
        {255, 254, 255, 0},  {256, 0, 0, 0},       {255, 255, 255, 256},   {-1, 0, 0, 0},
        {255, -1, 255, 255}, {INT_MIN, 255, 0, 0}, {255, 255, 0, INT_MAX}, {255, 511, 0, 0},
    };
    for (const Numbers &octets : kNone)
        EXPECT_TRUE(gives(0, ERR_INVALID_NETNAME, cMLIBICalMask(octets[0], octets[1], octets[2], octets[3])))
            << octets[0] << '.' << octets[1];
}

TEST(Addresses, AreThoseThatAnInterfaceCanHave) {
    for (const char *text : {"192.168.1.0", "1.0.0.0", "126.255.255.254", "128.0.0.1", "223.255.255.254",
                             "0xC0.0250.1.10", " 10.+1.\t2.3", "000000010.0000001.000000002.003"})
        EXPECT_TRUE(gives(1, 0, BlMLIBIsIpAddr(text))) << text;
    for (const std::string text :
         {"192.168.1.255", "0.1.2.3", "127.0.0.1", "0x7f.1.1.1", "224.0.0.1", "255.255.255.254", "256.1.1.1",
          "10.256.1.1", "10.1.256.1", "10.1.1.256", "-10.1.1.1", "10.-1.1.1", "10.1.1", "10.1.1.1.",
          "10.1.1.1/8", "10.1.1.1\n", "4294967306.1.1.1", "",
          // Longer than any part of it that would be one.
          "000000010.0000001.000000002.0003", "10.1.1.00000000000000000000000011"})
        EXPECT_TRUE(gives(0, ERR_INVALID_NETNAME, BlMLIBIsIpAddr(text.c_str()))) << text;
}

TEST(Netmasks, ComeOutInNormalForm) {
    static const struct {
        const char *text, *normal;  // null: refused
    } kTexts[] = {
        {"255.255.255.0", "255.255.255.0"},
        {"0xFF.0377. 255.000", "255.255.255.0"},
        {"255.255.255.255", "255.255.255.255"},
        {"128.0.0.0", "128.0.0.0"},
        {"0x80.+0.-0.\t0", "128.0.0.0"},
        {"000000377.000000000.000000000.0", "255.0.0.0"},
        {"000000377.000000000.000000000.00", nullptr},
        {"0.0.0.0", nullptr},
        {"0255.255.0.0", nullptr},
        {"255.0xFF.255.0x", nullptr},
        {"255.0.255.0", nullptr},
        {"255.255.255.256", nullptr},
        {"-1.255.255.0", nullptr},
        {"24", nullptr},
    };
    for (const auto &text : kTexts) {
        Exact mask(text.text);
        const bool is = text.normal != nullptr;
        EXPECT_TRUE(gives(is ? 1 : 0, is ? 0 : ERR_INVALID_NETNAME, BlMLIBIsIpMask(mask.data())))
            << text.text;
        EXPECT_EQ(mask.text(), is ? text.normal : text.text);
    }
}

TEST(Networks, HaveNoBitBeyondTheirNetmask) {
    static const struct {
        const char *text, *mask, *normal;  // null: refused
    } kTexts[] = {
        {"192.168.1.0", "255.255.255.0", "192.168.1.0"},
        {"0300.0xa8.001.00", "0xff.0xff.0xff.0", "192.168.1.0"},
        {"10.1.2.128", "255.255.255.128", "10.1.2.128"},
        {"10.1.2.3", "255.255.255.255", "10.1.2.3"},
        {"255.255.255.255", "255.255.255.255", "255.255.255.255"},
        {"0.0.0.0", "128.0.0.0", "0.0.0.0"},
        {" 9.10.99.100", "255.255.255.255", "9.10.99.100"},
        {"9.10.+99.100", "255.255.255.255", "9.10.99.100"},
        {"10.1.2.192", "255.255.255.128", nullptr},
        {"10.1.0.1", "255.255.0.0", nullptr},
        {"10.129.0.0", "255.128.0.0", nullptr},
        {"64.0.0.0", "128.0.0.0", nullptr},
        {"0.0.0.0", "0.0.0.0", nullptr},
        {"10.0.0.0", "255.0.255.0", nullptr},
        {"10.0.0.0", "255.0.0", nullptr},
        {"10.0.0", "255.0.0.0", nullptr},
        {"10.0.256.0", "255.0.0.0", nullptr},
        {"0.256.0.0", "255.0.0.0", nullptr},
        {"000000010.000000000.000000000.00", "255.0.0.0", nullptr},
        {"10.0.0.0", "000000377.000000000.000000000.00", nullptr},
    };
    for (const auto &text : kTexts) {
        Exact network(text.text);
        const bool is = text.normal != nullptr;
        EXPECT_TRUE(
            gives(is ? 1 : 0, is ? 0 : ERR_INVALID_NETNAME, BlMLIBIsSubNet(network.data(), text.mask)))
            << text.text << " " << text.mask;
        EXPECT_EQ(network.text(), is ? text.normal : text.text);
    }
}

// A conversion into a buffer and one in place.
void expect_conversion(int (*convert)(char *, char *), const std::string &text, const char *result) {
    SCOPED_TRACE(text);
    const int code = result ? 0 : ERR_INVALID_NETNAME;
    Exact input(text), output("before", MORV_SUBNET_TEXT_SIZE);
    EXPECT_TRUE(gives(result ? 0 : -1, code, convert(input.data(), output.data())));
    EXPECT_EQ(output.text(), result ? result : "before");
    EXPECT_EQ(input.text(), text);
    Exact in_place(text, convert == ErrMLIBSubnetToIpMask ? MORV_SUBNET_TEXT_SIZE : 0);
    EXPECT_TRUE(gives(result ? 0 : -1, code, convert(in_place.data(), nullptr)));
    EXPECT_EQ(in_place.text(), result ? result : text);
}

TEST(AddressesWithANetmask, BecomeNetworksWithAPrefixLength) {
    static const struct {
        std::string text;
        const char *result;
    } kTexts[] = {
        {"10.1.2.3/255.0.0.0", "10.0.0.0/8"},
        {"192.168.1.130/255.255.255.128", "192.168.1.128/25"},
        {"0xC0.0250.1.254/255.255.255.255", "192.168.1.254/32"},
        {"254.254.254.254/128.0.0.0", "128.0.0.0/1"},
        {"127.0.0.1/ 0xFF.0.0.0", "127.0.0.0/8"},
        {times(24, "0") + "1.2.3.4/" + times(24, "0") + "254.0.0", nullptr},
        {times(24, "0") + "1.2.3.4/" + times(22, "0") + "376.0.0.0", "0.0.0.0/7"},
        {times(25, "0") + "1.2.3.4/" + times(22, "0") + "376.0.0.0", nullptr},
        {times(24, "0") + "1.2.3.4/" + times(23, "0") + "376.0.0.0", nullptr},
        {"10.1.2.255/255.0.0.0", nullptr},
        {"255.1.2.3/255.0.0.0", nullptr},
        {"10.1.2.3/255.0.255.0", nullptr},
        {"10.1.2.3/0.0.0.0", nullptr},
        {"10.1.2.3/255.0.0.0/8", nullptr},
        {"10.1.2.3/255.0.0.0/", nullptr},
        {"10.1.2.3/255.0.0", nullptr},
        {"10.1.2.3/8", nullptr},
        {"10.1.2.3", nullptr},
        {"10.1.2/255.0.0.0", nullptr},
        {"-1.1.2.3/255.0.0.0", nullptr},
        {"/255.0.0.0", nullptr},
        {"", nullptr},
    };
    for (const auto &text : kTexts)
        expect_conversion(ErrMLIBIpMaskToSubnet, text.text, text.result);
}

TEST(AddressesWithAPrefixLength, BecomeNetworksWithANetmask) {
    static const struct {
        std::string text;
        const char *result;
    } kTexts[] = {
        {"10.1.2.3/8", "10.0.0.0/255.0.0.0"},
        {"10.1.2.3/010", "10.0.0.0/255.0.0.0"},
        {"10.1.2.3/ +0x1F", "10.1.2.2/255.255.255.254"},
        {"254.254.254.254/32", "254.254.254.254/255.255.255.255"},
        {"254.1.2.3/1", "128.0.0.0/128.0.0.0"},
        {"10.1.2.3/" + times(54, "0") + "7", "10.0.0.0/254.0.0.0"},
        {"10.1.2.3/" + times(55, "0") + "7", nullptr},
        {"10.1.2.3/33", nullptr},
        {"10.1.2.3/0", nullptr},
        {"10.1.2.3/-8", nullptr},
        {"10.1.2.3/4294967304", nullptr},
        {"10.1.2.3/8a", nullptr},
        {"10.1.2.3/8 ", nullptr},
        {"10.1.2.3/08", nullptr},
        {"10.1.2.3/0x", nullptr},
        {"10.1.2.3/8/", nullptr},
        {"10.1.2.3/8/8", nullptr},
        {"10.1.2.3/", nullptr},
        {"10.1.2.3/ ", nullptr},
        {"10.1.2.3", nullptr},
        {"10.1.2.255/8", nullptr},
        {"10.1.2/8", nullptr},
        {"", nullptr},
    };
    for (const auto &text : kTexts)
        expect_conversion(ErrMLIBSubnetToIpMask, text.text, text.result);
}

TEST(Atoms, HaveNoByteThatMailAddressesGiveAMeaning) {
    for (int c = 1; c < 256; ++c) {
        const bool is = c > 32 && !strchr("\"(),.:;<>[\\]@", c);
        for (const std::string &text :
             {std::string(1, char(c)), std::string("a") + char(c), char(c) + std::string("a")})
            EXPECT_TRUE(gives(is ? 1 : 0, 0, BlMLIBIsAtom(text.c_str()))) << c;
    }
    EXPECT_TRUE(gives(0, 0, BlMLIBIsAtom("")));
}

// Each text with whether it is what the function looks for.
struct Judged {
    std::string text;
    bool is;
};
void expect_judgements(int (*judge)(const char *), const std::vector<Judged> &texts) {
    for (const Judged &judged : texts)
        EXPECT_TRUE(gives(judged.is ? 1 : 0, 0, judge(Exact(judged.text).data()))) << judged.text;
}

TEST(DomainNames, AreAtomsWithOneDotBetweenEachTwo) {
    expect_judgements(BlMLIBIsDomain, {{"example", true},
                                       {"www.example.com", true},
                                       {"-_!.B\xc3\xbc"
                                        "cher.1",
                                        true},
                                       {times(255, "a.") + "bc", true},
                                       {times(255, "a.") + "bcd", false},
                                       {times(512, "a"), true},
                                       {times(513, "a"), false},
                                       {"", false},
                                       {".", false},
                                       {".example", false},
                                       {"example.", false},
                                       {"www..com", false},
                                       {"www.exa mple.com", false},
                                       {"www.example.com\n", false},
                                       {"user@example.com", false}});
}

TEST(MailAddresses, HaveSuchANameOnEachSideOfOneAt) {
    expect_judgements(BlMLIBIsMailbox, {{"first.last@mail.example", true},
                                        {"a@b", true},
                                        {"r\xc3\xb6@\xc3\xb6.example", true},
                                        {"a@" + times(510, "b"), true},
                                        {"a@" + times(511, "b"), false},
                                        {times(511, "a") + "@b", false},
                                        {"", false},
                                        {"@", false},
                                        {"user", false},
                                        {"@example.com", false},
                                        {"user@", false},
                                        {"a@b@c", false},
                                        {"a@@b", false},
                                        {"user@example.com.", false},
                                        {".user@example.com", false},
                                        {"us..er@example.com", false},
                                        {"Some One <user@example.com>", false},
                                        {"user@example.com\nBcc: other@example.com", false}});
}

TEST(HostNames, AreShortAndOfPlainCharacters) {
    expect_judgements(BlMLIBIsHostname, {{"a", true},
                                         {"_", true},
                                         {"_Disk-Station1", true},
                                         {"z23456789-12345", true},
                                         {"z23456789-123456", false},
                                         {"", false},
                                         {"1disk", false},
                                         {"-disk", false},
                                         {"disk.station", false},
                                         {"disk station", false},
                                         {"disk\n", false},
                                         {"d\xc3\xbcsk", false},
                                         {"disk`", false},
                                         {"[disk", false}});
}

TEST(Validation, RefusesNullArguments) {
    char text[] = "10.0.0.0";
    int32_t numbers[4];
    EXPECT_TRUE(refuse_nulls(-1, ErrMLIBIpMaskToSubnet, ErrMLIBSubnetToIpMask, cMLIBISepIP));
    EXPECT_TRUE(refuses(-1, cMLIBISepIP(nullptr, numbers)));
    EXPECT_TRUE(refuses(-1, cMLIBISepIP(text, nullptr)));
    EXPECT_TRUE(refuse_nulls(0, BlMLIBIsIpAddr, BlMLIBIsIpMask, BlMLIBIsSubNet, BlMLIBIsAtom, BlMLIBIsDomain,
                             BlMLIBIsMailbox));
    EXPECT_TRUE(refuses(0, BlMLIBIsSubNet(nullptr, "255.0.0.0")));
    EXPECT_TRUE(refuses(0, BlMLIBIsSubNet(text, nullptr)));
    EXPECT_TRUE(gives(0, 0, BlMLIBIsHostname(nullptr)));
}

}  // namespace
