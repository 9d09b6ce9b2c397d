// The mails of events, and the settings that decide about them.
#include <morvsdk/mail.h>

#include <algorithm>

#include "autoblock/block_root.h"
#include "support/hashes.h"
#include "support/outcome.h"

using namespace testing_support;

namespace {

std::string decode(std::string_view text) {
    static constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const size_t digit = kDigits.find(c);
        if (digit == kDigits.npos) continue;
        bits = bits << 6 | uint32_t(digit);
        if ((count += 6) < 8) continue;
        count -= 8;
        out.push_back(char(bits >> count));
    }
    return out;
}

struct MailRoot : BlockRoot {
    static constexpr char kTemplates[] = "usr/morv/morvsdk/texts/enu/mail_templates";

    MailRoot() {
        sendmail("cat >\"$MORV_ROOT/mail\"; echo \"$@\" >\"$MORV_ROOT/args\"");
        conf("mail_to1=\"admin@example.com\"\n");
        write(kTemplates,
              "[Test]\nsubject=\"Hello %NAME%\"\nbody=First %NAME%.\\n50% of %UNKNOWN% %NAME%%NAME%\n");
    }
    void sendmail(const std::string &script) const {
        write("usr/sbin/sendmail", "#!/bin/sh\n" + script + "\n", 0755);
    }
    void conf(const std::string &text) const { settings({1, 5, 0, 1}, text); }
    std::string headers() const {
        const std::string mail = read("mail");
        return mail.substr(0, mail.find("\n\n") + 1);
    }
    std::string header(const std::string &name) const {
        const std::string all = "\n" + headers();
        const size_t at = all.find("\n" + name + ": ");
        if (at == all.npos) return "";
        const size_t from = at + name.size() + 3;
        return all.substr(from, all.find('\n', from) - from);
    }
    std::string body() const {
        const std::string mail = read("mail");
        return decode(std::string_view(mail).substr(mail.find("\n\n")));
    }
};

TEST(Mail, IsMadeFromTheTemplateAndHandedToTheMailProgram) {
    const MailRoot root;
    root.conf("mail_to1=\"admin@example.com\"\nmail_to2=second@example.com\nmail_from=nas@example.com\n");
    EXPECT_EQ(MORVMailSendEvent("Test", Hash{{"%NAME%", "x"}}.get()), 0);
    EXPECT_EQ(root.read("args"), "-t\n");
    EXPECT_EQ(root.headers(),
              "To: admin@example.com, second@example.com\nFrom: nas@example.com\nSubject: Hello x\n"
              "MIME-Version: 1.0\nContent-Type: text/plain; charset=UTF-8\n"
              "Content-Transfer-Encoding: base64\nAuto-Submitted: auto-generated\n");
    EXPECT_EQ(root.body(), "First x.\r\n50% of %UNKNOWN% xx\r\n");
    EXPECT_EQ(MORVMailSendEvent("Test", nullptr), 0);
    EXPECT_EQ(root.header("Subject"), "Hello %NAME%");
}

TEST(Mail, NoValueBecomesAHeader) {
    const MailRoot root;
    EXPECT_EQ(MORVMailSendEvent("Test", Hash{{"%NAME%", "a\r\nBcc: x@example.com\n\nbody\v%NAME%"}}.get()),
              0);
    EXPECT_EQ(root.header("Subject"), "Hello a  Bcc: x@example.com  body %NAME%");
    EXPECT_EQ(root.header("Bcc"), "");
    EXPECT_EQ(std::ranges::count(root.headers(), '\n'), 6);

    const char *const receivers[] = {"a b@example.com",
                                     "a@example.com,b@example.com",
                                     "-oQ/tmp@example.com",
                                     "|/bin/sh",
                                     "/etc/passwd",
                                     "a@example.com\\r\\nBcc:b@example.com",
                                     "a@example.com\rBcc:b@example.com",
                                     "<a@example.com>",
                                     "a\1@example.com"};
    for (const std::string receiver : receivers) {
        SCOPED_TRACE(receiver);
        root.conf("mail_to1=\"" + receiver + "\"\nmail_to2=ok@example.com\nmail_from=" + receiver + "\n");
        EXPECT_EQ(MORVMailSendEvent("Test", nullptr), 0);
        EXPECT_EQ(root.header("To"), "ok@example.com");
        EXPECT_EQ(root.header("From"), "");
        EXPECT_EQ(std::ranges::count(root.headers(), '\n'), 6);
        root.conf("mail_to1=\"" + receiver + "\"\n");
        EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVMailSendEvent("Test", nullptr)));
    }
}

TEST(Mail, SubjectsOfOtherLettersAreEncodedInWholeCharacters) {
    const MailRoot root;
    std::string name;
    for (int i = 0; i < 40; ++i)
        name += i % 3 ? "\xE3\x83\x96" : "\xC3\xBC";
    EXPECT_EQ(MORVMailSendEvent("Test", Hash{{"%NAME%", name.c_str()}}.get()), 0);
    const std::string mail = root.read("mail");
    std::string decoded;
    size_t words = 0;
    for (size_t at = 0; (at = mail.find("=?UTF-8?B?", at)) != mail.npos; ++words) {
        const size_t end = mail.find("?=", at + 10);
        EXPECT_LE(end + 2 - at, 75u);
        const std::string piece = decode(mail.substr(at + 10, end - at - 10));
        EXPECT_NE(piece[0] & 0xC0, 0x80) << "begins within a character";
        decoded += piece;
        at = end;
    }
    EXPECT_EQ(decoded, "Hello " + name);
    EXPECT_GT(words, 2u);
    EXPECT_EQ(std::ranges::count(root.headers(), '\n'), 5 + int(words));
}

TEST(Mail, LanguagesFallBackToEnglish) {
    const MailRoot root;
    root.write("usr/morv/morvsdk/texts/ger/mail_templates", "[Test]\nsubject=Hallo\nbody=x\n");
    root.write(MailRoot::kTemplates, "[Test]\nsubject=Hello\nbody=x\n[Other]\nsubject=Other\nbody=x\n");
    const struct {
        const char *language, *event, *subject;
    } cases[] = {{"ger", "Test", "Hallo"}, {"ger", "Other", "Other"}, {"fre", "Test", "Hello"}};
    for (const auto &[language, event, subject] : cases) {
        root.conf(std::string("mail_to2=a@example.com\nmail_language=") + language + "\n");
        EXPECT_EQ(MORVMailSendEvent(event, nullptr), 0);
        EXPECT_EQ(root.header("Subject"), subject);
    }
    EXPECT_TRUE(gives(-1, ERR_SECTION_NOT_FOUND, MORVMailSendEvent("None", nullptr)));
    for (const char *event : {"", "a/b", "..", "a]", "a b"})
        EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, MORVMailSendEvent(event, nullptr))) << event;
    root.conf("mail_to1=a@example.com\nmail_language=../enu\n");
    EXPECT_TRUE(gives(-1, ERR_BAD_PARAMETERS, MORVMailSendEvent("Test", nullptr)));
    root.conf("mail_to1=a@example.com\n");
    root.sendmail("exit 3");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVMailSendEvent("Test", nullptr)));
    unlink(root.path("usr/sbin/sendmail").c_str());
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVMailSendEvent("Test", nullptr)));
}

TEST(Mail, TellsOfABlockOnceAndWithoutALock) {
    const MailRoot root;
    setenv("TZ", "UTC", 1);
    root.write(MailRoot::kTemplates,
               "[AutoBlockAdd]\nsubject=%CLIENT_IP%\n"
               "body=%AUTOBLOCK_TIME%|%AUTOBLOCK_ATTEMPTS%|%AUTOBLOCK_ATTEMPT_MIN%\n");
    root.sendmail(
        "cat >\"$MORV_ROOT/mail\"; flock -n \"$MORV_ROOT/etc/morvIPs.deny\" flock -n "
        "\"$MORV_ROOT/etc/morvIPs.deny.lock\" touch \"$MORV_ROOT/free\"");
    EXPECT_EQ(MORVAutoBlockFailLoginSet("192.0.2.1"), 0);
    EXPECT_EQ(root.header("Subject"), "192.0.2.1");
    EXPECT_EQ(root.body(), "Thu Jan 10 21:20:00 2008|1|5\r\n");
    EXPECT_EQ(access(root.path("free").c_str(), F_OK), 0);
    unlink(root.path("mail").c_str());
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.1"), 0);
    EXPECT_NE(access(root.path("mail").c_str(), F_OK), 0) << "it was blocked already";
    root.sendmail("exit 1");
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), 0) << "the block holds without the mail";
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.2"), 1);
}

// ---- settings --------------------------------------------------------------------------------------------

TEST(Settings, AreReadAndWrittenAsKeys) {
    const BlockRoot root;
    MORV_AUTOBLOCK_CONF conf = {9, 9, 9, 9};
    root.write("etc/morvinfo.conf",
               "hostname=\"x\"\nautoblock_attempts = 12abc\nautoblock_attempt_min=\" -7\"\n"
               "autoblock_expriedday=99999999999999999999\nautoblock_notify=\"YES\"\n");
    EXPECT_EQ(MORVAutoBlockConfGet(&conf), 0);
    EXPECT_EQ(conf.attempts, 12);
    EXPECT_EQ(conf.attemptMin, -7);
    EXPECT_EQ(conf.expiredDay, 0x7FFFFFFF);
    EXPECT_EQ(conf.notify, 0);
    conf = {3, 5, 1, 1};
    EXPECT_EQ(MORVAutoBlockConfSet(&conf), 0);
    const std::string text = root.read("etc/morvinfo.conf");
    EXPECT_TRUE(text.starts_with("hostname=\"x\"\n")) << text;
    for (const char *line : {"autoblock_attempts=\"3\"\n", "autoblock_attempt_min=\"5\"\n",
                             "autoblock_expriedday=\"1\"\n", "autoblock_notify=\"yes\"\n"})
        EXPECT_NE(text.find(line), text.npos) << line;
    EXPECT_EQ(MORVAutoBlockIsEnabled(), 1);
    EXPECT_EQ(MORVAutoBlockResetDefault(), 0);
    EXPECT_EQ(MORVAutoBlockIsEnabled(), 0);
    EXPECT_EQ(MORVAutoBlockConfGet(&conf), 0);
    EXPECT_EQ(conf.attempts | conf.attemptMin | conf.expiredDay | conf.notify, 0);
    for (const MORV_AUTOBLOCK_CONF &bad : {MORV_AUTOBLOCK_CONF{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}})
        EXPECT_TRUE(refuses(-1, MORVAutoBlockConfSet(&bad)));
    EXPECT_TRUE(refuse_nulls(-1, MORVAutoBlockConfGet, MORVAutoBlockConfSet, MORVAutoBlockFailLoginSet,
                             MORVAutoBlockFailCountGet, MORVAutoBlockResetByIP, MORVAutoBlockIsDeniedIP,
                             MORVAutoBlockIsAllowedIP, MORVAutoBlockIPAdd, MORVAutoBlockIPsAdd,
                             MORVAutoBlockIPsDel, MORVAutoBlockIPGet, MORVAutoBlockFileOpen,
                             MORVMailSendEvent));
    unlink(root.path("etc/morvinfo.conf").c_str());
    conf = {9, 9, 9, 9};
    EXPECT_EQ(MORVAutoBlockConfGet(&conf), 0);
    EXPECT_EQ(conf.attempts, 0);
    EXPECT_EQ(MORVAutoBlockIsEnabled(), 0);
}

TEST(Services, TheFtpServerIsSignalled) {
    const BlockRoot root;
    root.write("bin/pidof", "#!/bin/sh\necho \"$1-1 $1-2\"\n", 0755);
    root.write("bin/kill", "#!/bin/sh\necho \"$@\" >\"$MORV_ROOT/killed\"\n[ $# -gt 1 ]\n", 0755);
    EXPECT_EQ(MORVAutoBlockServicesHup(), 0);
    EXPECT_EQ(root.read("killed"), "-HUP ftpd-1 ftpd-2\n");
    root.write("bin/pidof", "#!/bin/sh\nexit 1\n", 0755);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVAutoBlockServicesHup()));
}

}  // namespace
