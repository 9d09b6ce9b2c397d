#include <morvsdk/internal/share.h>
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "support/alloc_fault.h"
#include "support/hashes.h"
#include "support/outcome.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

struct FreeShare {
    void operator()(MORVSHARE *share) const { MORVShareFree(share); }
};
using Share = std::unique_ptr<MORVSHARE, FreeShare>;

char *text(const char *constant) {
    return const_cast<char *>(constant);
}

MORVSHARE spec_of(const char *name, const char *path) {
    MORVSHARE spec = {};
    spec.szName = text(name);
    spec.szPath = text(path);
    spec.szWriteList = text("@users,bob");
    spec.accessType = MORV_SHARE_READ_WRITE;
    spec.browseable = 1;
    spec.ftpFlags = MORV_SHARE_FTP_NO_MODIFY;
    return spec;
}

const std::string kTexts("music\0/volume1/music\0@users,bob", sizeof "music\0/volume1/music\0@users,bob");

std::string packed(const MORVSHARE &share) {
    int size = 0;
    char *const bytes = static_cast<char *>(MORVShareDBPack(&share, &size));
    const std::string all(bytes, size_t(size));
    free(bytes);
    return all;
}

void store(std::string &packed, size_t at, uint32_t value) {
    memcpy(packed.data() + at, &value, sizeof value);
}

TEST(ShareRecord, HoldsItsTextsInFieldOrder) {
    const MORVSHARE spec = spec_of("music", "/volume1/music");
    const Share share(MORVShareAlloc(&spec));
    ASSERT_NE(share, nullptr);
    const char *const block = reinterpret_cast<const char *>(share.get());
    EXPECT_EQ(share->size, sizeof(MORVSHARE) + kTexts.size());
    EXPECT_EQ(share->allocated, share->size);
    EXPECT_EQ(std::string(block + sizeof(MORVSHARE), kTexts.size()), kTexts);
    for (const char *empty : {share->szComment, share->szInvalidUsers, share->szReadList})
        EXPECT_EQ(empty, block + share->size - 1);
    EXPECT_EQ(share->ftpFlags, MORV_SHARE_FTP_NO_MODIFY);
}

TEST(ShareRecord, RefusesWhatIsNoShare) {
    const auto with = [](auto change) {
        MORVSHARE spec = spec_of("music", "/volume1/music");
        change(spec);
        return MORVShareAlloc(&spec);
    };
    EXPECT_TRUE(refuses(nullptr, MORVShareAlloc(nullptr)));
    EXPECT_TRUE(refuses(nullptr, with([](MORVSHARE &s) { s.szName = nullptr; })));
    EXPECT_TRUE(refuses(nullptr, with([](MORVSHARE &s) { s.szPath = nullptr; })));
    EXPECT_TRUE(refuses(nullptr, with([](MORVSHARE &s) { s.accessType = -1; })));
    EXPECT_TRUE(refuses(nullptr, with([](MORVSHARE &s) { s.browseable = -1; })));
    EXPECT_TRUE(refuses(nullptr, with([](MORVSHARE &s) { s.ftpFlags = -1; })));
    EXPECT_TRUE(gives(nullptr, ERR_INVALID_SHARENAME, with([](MORVSHARE &s) { s.szName = text("a/b"); })));
    EXPECT_TRUE(gives(nullptr, ERR_INVALID_PATH, with([](MORVSHARE &s) { s.szPath = text("volume1"); })));
    EXPECT_EQ(BlMLIBIsShareName(std::string(32, 'x').c_str()), 1);
    EXPECT_EQ(BlMLIBIsShareName(std::string(33, 'x').c_str()), 0);
}

TEST(PackedShare, HasTheLayoutOfAMachineWithPointersOf4Bytes) {
    const std::string value = packed(spec_of("music", "/volume1/music"));
    const uint32_t total = uint32_t(48 + kTexts.size()), last = total - 5;
    const uint32_t fields[] = {0, 44, last, 50, last, 65, last, 2, 1, 2, total, total - 4};
    ASSERT_EQ(value.size(), total);
    for (size_t i = 0; i < std::size(fields); ++i) {
        uint32_t field;
        memcpy(&field, value.data() + 4 * i, sizeof field);
        EXPECT_EQ(field, fields[i]) << i;
    }
    EXPECT_EQ(value.substr(48), kTexts);
    MORVSHARE unnamed = spec_of("", "/x");
    int size = 0;
    EXPECT_TRUE(refuses(nullptr, MORVShareDBPack(&unnamed, &size)));
    for (int32_t MORVSHARE::*number :
         {&MORVSHARE::accessType, &MORVSHARE::browseable, &MORVSHARE::ftpFlags}) {
        MORVSHARE below = spec_of("a", "/x");
        below.*number = -1;
        EXPECT_TRUE(gives(nullptr, ERR_BAD_PARAMETERS, MORVShareDBPack(&below, &size)))
            << "Unpack refuses it";
    }
}

TEST(PackedShare, IsUnpackedIntoARecordUsedAgain) {
    MORVSHARE large = spec_of("video", "/volume1/video");
    const std::string comment(300, 'c');
    large.szComment = text(comment.c_str());
    const std::string first = packed(large), second = packed(spec_of("music", "/volume1/music"));
    MORVSHARE *slot = nullptr;
    ASSERT_EQ(MORVShareDBUnpack(first.data(), int(first.size()), &slot), 0);
    EXPECT_EQ(slot->szComment, comment);
    EXPECT_EQ(packed(*slot), first);
    const uint32_t allocated = slot->allocated;
    ASSERT_EQ(MORVShareDBUnpack(second.data(), int(second.size()), &slot), 0);
    const Share share(slot);
    EXPECT_EQ(share->allocated, allocated);
    EXPECT_EQ(share->size, sizeof(MORVSHARE) + kTexts.size());
    EXPECT_STREQ(share->szPath, "/volume1/music");
    EXPECT_STREQ(share->szComment, "");
    EXPECT_EQ(packed(*share), second);
    EXPECT_EQ(for_each_alloc_fault([&](int) {
                  MORVSHARE *none = nullptr;
                  const int result = MORVShareDBUnpack(first.data(), int(first.size()), &none);
                  const bool reached = AllocFault::disarm();
                  EXPECT_TRUE(gives(reached ? -1 : 0, reached ? ERR_OUT_OF_MEMORY : 0, result));
                  EXPECT_EQ(none == nullptr, reached);
                  MORVShareFree(none);
                  return reached;
              }),
              1);
}

TEST(PackedShare, IsRefusedWhenForged) {
    const std::string good = packed(spec_of("music", "/volume1/music"));
    const uint32_t last = uint32_t(good.size()) - 5;
    std::vector<std::string> forged;
    const auto with = [&](size_t at, uint32_t value) {
        forged.push_back(good);
        store(forged.back(), at, value);
    };
    with(0, 1);  // the leading zero
    for (const uint32_t at : {0u, 40u, 43u, 45u, last, last + 1, 0x7FFFFFFFu, 0xFFFFFFFCu, 0xFFFFFFFFu})
        with(4, at);  // the name
    for (const uint32_t at : {44u, 49u, 51u, last, last + 1})
        with(12, at);  // the path: left out, too, its bytes are nobody's
    for (const size_t number : {28u, 32u, 36u})
        with(number, 0xFFFFFFFF);
    for (const size_t size : {40u, 44u})
        with(size, uint32_t(good.size()) - 1);
    forged.push_back(good.substr(0, good.size() - 1));  // truncated
    forged.push_back(good + '\0');
    forged.push_back(good.substr(0, 48));
    forged.push_back("");
    forged.push_back(good);
    forged.back().back() = 'x';                         // no terminator
    forged.push_back(good.substr(0, good.size() - 1));  // truncated, and the sizes say so
    store(forged.back(), 40, uint32_t(good.size()) - 1);
    store(forged.back(), 44, uint32_t(good.size()) - 5);
    MORVSHARE *slot = nullptr;
    for (size_t i = 0; i < forged.size(); ++i)
        EXPECT_TRUE(refuses(-1, MORVShareDBUnpack(forged[i].data(), int(forged[i].size()), &slot))) << i;
    EXPECT_EQ(slot, nullptr);
}

TEST(ShareName, IsCheckedAgainstTheSystemsOwn) {
    const ScratchRoot root;
    const struct {
        const char *name, *conf;
        int answer;
    } cases[] = {{"satashare", "", 18},
                 {"satabackup", "", 18},
                 {"satashare1", "", 0},
                 {"usbshare1", "", 10},
                 {"usbshare1-2", "", 10},
                 {"usbshare", "", 10},
                 {"USBShare1", "", 0},
                 {"usbbackup", "", 10},
                 {"usbbackup1", "", 0},
                 {"usbshare@x", "", 10},
                 {"home", "", 2},
                 {"homes", "", 2},
                 {"Home", "", 0},
                 {"lost+found", "", 2},
                 {"a@b", "", 2},
                 {"web", "runweb=\"yes\"\n", 1},
                 {"web", "runweb=\"no\"\n", 0},
                 {"web", "runphoto=\"yes\"\n", 0},
                 {"music", "runmediaserver=\"yes\"\n", 1},
                 {"music", "runaudio=\"yes\"\n", 1},
                 {"video", "runaudio=\"yes\"\n", 0},
                 {"video", "runmediaserver=\"yes\"\n", 1},
                 {"photo", "runphoto=\"yes\"\n", 1},
                 {"NetBackup", "runnetbackup=\"yes\"\n", 1},
                 {"netbackup", "runnetbackup=\"yes\"\n", 0},
                 {"surveillance", "runsurveillance=\"yes\"\n", 1},
                 {"attic", "runweb=\"yes\"\n", 0}};
    for (const auto &c : cases) {
        root.write("etc/morvinfo.conf", c.conf);
        EXPECT_EQ(ShareNameCheck(c.name), c.answer) << c.name << " " << c.conf;
    }
}

TEST(Section, HasANameAndAType) {
    const struct {
        const char *line, *name;
    } cases[] = {{"[music]", "music"}, {" [a]b] ; x\n", "a]b"}, {"[]", ""}, {"x[[y]", "[y"}};
    char name[512];
    for (const auto &c : cases) {
        EXPECT_EQ(ShareParseSectionName(c.line, name, int(strlen(c.name)) + 1), int(strlen(c.name)));
        EXPECT_STREQ(name, c.name);
        EXPECT_TRUE(
            gives(-1, ERR_NOT_ENOUGH_MEMORY, ShareParseSectionName(c.line, name, int(strlen(c.name)))));
    }
    EXPECT_EQ(ShareParseSectionName(("[" + std::string(600, 'x') + "]").c_str(), name, sizeof name), 495);
    for (const char *line : {"", "music", "[music", "music]", "]music["})
        EXPECT_TRUE(refuses(-1, ShareParseSectionName(line, name, sizeof name)));
    for (const char *reserved : {"global", "GLOBAL", "Home", "printers"})
        EXPECT_EQ(ShareSectionTypeGet(reserved), MORV_SECTION_RESERVED) << reserved;
    for (const char *share : {"", "homes", "globe", "printer\xFF", "printer\u017F"})
        EXPECT_EQ(ShareSectionTypeGet(share), MORV_SECTION_SHARE) << share;
    EXPECT_TRUE(refuse_nulls(-1, ShareParseSectionName, ShareSectionTypeGet, ShareNameCheck,
                             ShareFTypeGetFromConf, MORVShareDBUnpack));
}

TEST(AccessType, IsDecidedByTheListsBeforeTheKeys) {
    const struct {
        const char *guest, *writeable, *invalid, *write, *read;
        int type;
    } cases[] = {{"yes", "no", "", "", "", 1},
                 {"yes", "yes", "", "", "", 2},
                 {"no", "no", "", "", "", 4},
                 {"Yes", "YES", "", "", "", 2},
                 {"no", "yes", "", "", "", 1},
                 {nullptr, "no", "", "", "", 1},
                 {nullptr, nullptr, nullptr, nullptr, nullptr, 1},
                 {"yes", "no", "", "bob, @Users ,eve", "@users", 2},
                 {"yes", "yes", "", "", "@USERS", 1},
                 {"yes", "yes", "x,@users", "@users", "@users", 4},
                 {"yes", "yes", "@users2,users,@user", "x@users", "@users x", 2}};
    for (const auto &c : cases) {
        Hash keys;
        if (c.guest) MLIBSzHashSetValue(keys.address(), "guest ok", c.guest);
        if (c.writeable) MLIBSzHashSetValue(keys.address(), "writeable", c.writeable);
        EXPECT_EQ(ShareFTypeGetFromConf(keys.get(), c.invalid, c.write, c.read), c.type)
            << (c.guest ? c.guest : "-") << " " << (c.write ? c.write : "-");
    }
}

}  // namespace
