#include "core/account/password.h"

#include <gtest/gtest.h>
#include <morvsdk/errcodes.h>
#include <time.h>

#include <string>

namespace {

std::string hash_of(const std::string &clear, const char *old_hash) {
    morv::PasswordHash hash = {};
    EXPECT_EQ(morv::hash_password(clear.c_str(), old_hash, &hash), 0);
    return hash.text;
}

// The expected hashes are what `openssl passwd -1 -salt SALT` prints.
TEST(PasswordHash, KeepsTheSaltOfAStoredMd5Hash) {
    const struct {
        const char *clear, *old_hash, *hash;
    } cases[] = {
        {"geheim", "$1$2u$V2gPbd8Q58GxMkxlNCwCo/", "$1$2u$JCfbnbiXmlMRkKzgj6ss51"},
        {"geheim", "$1$2u$JCfbnbiXmlMRkKzgj6ss51", "$1$2u$JCfbnbiXmlMRkKzgj6ss51"},
        {"geheim", "$1$abcdefghij$V2gPbd8Q58GxMkxl", "$1$abcdefgh$eKehL.s8tG6zTf8hBtmEF."},
        {"", "$1$Xy$1234567890", "$1$Xy$hSVC2Inrg7hRlAEyD1zJY."},
        {"geheim", "abcdefgh", "$1$abcdefgh$eKehL.s8tG6zTf8hBtmEF."},
        {"neu", "W4", "$1$W4$V2gPbd8Q58GxMkxlNCwCo/"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(hash_of(c.clear, c.old_hash), c.hash) << c.old_hash;
}

TEST(PasswordHash, TakesAFreshSaltWhereNoneIsStored) {
    const char *const stored[] = {
        nullptr,
        "",
        "*",
        "!",
        "!!",
        "!$1$2u$JCfbnbiXmlMRkKzgj6ss51",
        "$1$2u",
        "$1$$JCfbnbiXmlMRkKzgj6ss51",
        "$1$a:b$JCfbnbiXmlMRkKzgj6ss51",
        "abJnggxhB/yWI",
        "$6$saltsalt$qFmFH.bQmmtXzyBY0s9v7Oicd2z4XSIecDzlB5KiA2/jctKu9YterLp8wwnSq.qc",
        "$y$j9T$F5Jx5fExrKuPp53xLKQ..1$X3DX6M94c7o.9agCG9G317fhZg9SqC.5i5rd.RhAtQ7"};
    for (const char *old_hash : stored) {
        SCOPED_TRACE(old_hash ? old_hash : "null");
        const time_t before = time(nullptr);
        const std::string hash = hash_of("neu", old_hash);
        ASSERT_EQ(hash.size(), 28u);
        bool of_now = false;
        for (time_t t = before; t <= time(nullptr); ++t)
            of_now |= hash[3] == morv::salt_character(t) && hash[4] == morv::salt_character(t + 10);
        EXPECT_TRUE(of_now) << hash;
        EXPECT_EQ(hash_of("neu", hash.c_str()), hash) << "the right password is recognised";
        EXPECT_NE(hash_of("Neu", hash.c_str()), hash);
    }
}

TEST(PasswordHash, TakesPasswordsAsLongAsCryptDoes) {
    morv::PasswordHash hash = {};
    EXPECT_EQ(morv::hash_password(std::string(511, 'x').c_str(), nullptr, &hash), 0);
    EXPECT_EQ(morv::hash_password(std::string(512, 'x').c_str(), nullptr, &hash), ERR_BAD_PARAMETERS);
}

}  // namespace
