#include <gtest/gtest.h>
#include <morvsdk/errcodes.h>

#include "core/text/pair_format.h"

namespace {

TEST(PairFormat, IsExpandedAsPrintfWould) {
    const struct {
        const char *format, *text;
    } cases[] = {{nullptr, "key=value\n"},
                 {"%s=%s\n", "key=value\n"},
                 {"", ""},
                 {"%s", "key"},
                 {"100%% %s", "100% key"},
                 {"%-6s=%7s|", "key   =  value|"},
                 {"%2s:%.2s", "key:va"},
                 {"%05s%.s.", "  key."},
                 {"%-+ #05.1s%-s", "k    value"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.format ? c.format : "null");
        std::string out = "before ";
        EXPECT_EQ(morv::append_pair(out, c.format, "key", "value"), 0);
        EXPECT_EQ(out, std::string("before ") + c.text);
    }
    std::string out;
    EXPECT_EQ(morv::append_pair(out, "<%s|%s>", "%s%n", std::string_view("a\0b", 3)), 0);
    EXPECT_EQ(out, std::string("<%s%n|a\0b>", 10)) << "what is put in is not looked at";
}

TEST(PairFormat, LeavesTheTextAloneWhenItIsRefused) {
    for (const char *format : {"%d", "%s=%n", "%s%s%s", "%*s", "%.*s", "%1$s", "%ls", "%hhs", "%", "%s=%s\n%",
                               "%-", "%.-1s", "%2147483648s", "%.99999999999999999999s", "%c", "%S", "%m"}) {
        SCOPED_TRACE(format);
        std::string out = "before";
        EXPECT_EQ(morv::append_pair(out, format, "key", "value"), ERR_BAD_PARAMETERS);
        EXPECT_EQ(out, "before");
    }
}

}  // namespace
