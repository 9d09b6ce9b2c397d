#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/store/open_store.h"
#include "support/scratch.h"

using testing_support::ScratchRoot;

namespace {

struct Opened {
    bool created = false;
    MORVBDB *db;
    explicit Opened(const std::string &path, bool duplicates = false)
        : db(morv::open_store(path.c_str(), duplicates, &created)) {}
    ~Opened() {
        if (db) MORVBDbClose(db);
    }
};

TEST(OpenStore, CreatesOnceAndMarksTheNewStoreLive) {
    ScratchRoot root;
    const std::string path = root.path("store");
    for (const bool created : {true, false}) {
        Opened store(path);
        ASSERT_NE(store.db, nullptr);
        EXPECT_EQ(store.created, created);
        EXPECT_EQ(MORVBDbDeprecatedGet(store.db), 0);
    }
    EXPECT_EQ(root.names(), std::vector<std::string>{"store"});
}

TEST(OpenStore, ReplacesAFileThatIsNoSoundStoreOfTheKind) {
    ScratchRoot root;
    MORVBDbClose(MORVBDbOpen(root.path("plain").c_str(), O_RDWR | O_CREAT, 0));
    MORVBDbClose(MORVBDbOpen(root.path("duplicates").c_str(), O_RDWR | O_CREAT, 1));
    const struct {
        const char *name;
        std::string content;
        bool duplicates;
    } cases[] = {
        {"empty", "", false},
        {"garbage", std::string(10000, 'g'), true},
        {"cut", root.read("plain").substr(0, 5000), false},
        {"kind1", root.read("plain"), true},
        {"kind2", root.read("duplicates"), false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ScratchRoot folder;
        const std::string path = folder.write(c.name, c.content);
        ASSERT_EQ(link(path.c_str(), (root.dir() + "/" + c.name).c_str()), 0);
        for (const bool created : {true, false}) {
            Opened store(path, c.duplicates);
            ASSERT_NE(store.db, nullptr);
            EXPECT_EQ(store.created, created);
            EXPECT_EQ(MORVBDbSet(store.db, "key", 3, "value", 5), 0) << "the renamed file takes writes";
        }
        EXPECT_EQ(folder.names(), std::vector<std::string>{c.name});
        EXPECT_EQ(root.read(c.name), c.content) << "the old file is not written to";
    }
}

TEST(OpenStore, LeavesWhatIsNoRegularFile) {
    ScratchRoot root;
    const std::string target = root.write("target", "precious");
    ASSERT_EQ(symlink(target.c_str(), root.path("link").c_str()), 0);
    ASSERT_EQ(mkfifo(root.path("fifo").c_str(), 0666), 0);
    root.path("folder/x");
    for (const char *name : {"link", "fifo", "folder"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Opened(root.path(name)).db, nullptr);
    }
    EXPECT_EQ(root.read("target"), "precious");
    EXPECT_EQ(root.names(), (std::vector<std::string>{"fifo", "folder", "link", "target"}));
}

}  // namespace
