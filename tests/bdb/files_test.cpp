#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <map>
#include <random>

#include "bdb/store.h"
#include "support/alloc_fault.h"
#include "support/fake_syslog.h"
#include "support/outcome.h"
#include "support/scratch.h"

using namespace testing_support;
using bdb_test::Store;
using bdb_test::Walk;

namespace {

int sync_error;  // with which syncing a store fails; 0: it works

}  // namespace

extern "C" {
int fdatasync(int fd) {
    if (!sync_error) return int(syscall(SYS_fdatasync, fd));
    errno = sync_error;
    return -1;
}
}

namespace {

// What is printed to standard error; nothing may be.
struct Silent {
    Silent() { testing::internal::CaptureStderr(); }
    ~Silent() { EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); }
};

// Opens and closes; the code of the failure, 0 for none.
int open_code(const std::string &path, int flags = O_RDWR, int duplicates = 0) {
    const Silent silent;
    return Store(path, flags, duplicates).db ? 0 : MLIBErrGet();
}

std::string filled_store(const ScratchRoot &root, const char *name, int duplicates, int records = 500) {
    const std::string path = root.path(name);
    Store store(path, O_RDWR | O_CREAT, duplicates);
    for (int i = 0; i < records; ++i) {
        const std::string key = "USER" + std::to_string(i * 7919 % records);
        store.set(key, "user:x:1000:100:" + std::string(i % 200 + 1, 'd'));
        if (i % 10 == 0) store.set("SHARED", std::string(i % 30 + 1, 's'));
        if (i % 100 == 0) store.set(key + std::string(3000, 'k'), std::string(20000, 'v'));
    }
    return path;
}

TEST(StoreFile, IsOpenedAsTheFlagsSay) {
    ScratchRoot root;
    const std::string path = root.path("store");
    EXPECT_EQ(open_code(path), ERR_FILE_NOT_FOUND);
    EXPECT_EQ(open_code(root.dir() + "/none/store", O_RDWR | O_CREAT), ERR_FILE_NOT_FOUND);
    EXPECT_EQ(open_code(path, O_RDONLY | O_CREAT), 0);
    EXPECT_EQ(open_code(path, O_RDWR | O_CREAT | O_EXCL), ERR_OPEN_FAILED);
    EXPECT_EQ(root.names(), std::vector<std::string>{"store"}) << "creating leaves nothing else";
    Store(path).set("a", "b");
    EXPECT_EQ(Store(path).get("a"), "b");
    EXPECT_EQ(open_code(path, O_RDWR | O_TRUNC), 0);
    EXPECT_EQ(Store(path).get("a"), std::nullopt);
}

TEST(StoreFile, IsGivenToEverybodyByRootAlsoBesideTheRestOfAnInterruptedCreation) {
    ScratchRoot root;
    root.write("__db.store", "");
    const std::string path = root.path("store");
    const mode_t old = umask(077);
    EXPECT_EQ(open_code(path, O_RDWR | O_CREAT), 0);
    umask(old);
    EXPECT_EQ(mode_of(path), geteuid() == 0 ? 0666u : 0600u);
}

TEST(StoreFile, OfAnotherKindIsRefused) {
    ScratchRoot root;
    filled_store(root, "plain", 0, 1);
    filled_store(root, "duplicates", 1, 1);
    EXPECT_EQ(open_code(root.path("plain"), O_RDWR, 1), ERR_STORE_INVALID);
    EXPECT_EQ(open_code(root.path("duplicates"), O_RDWR, 0), 0) << "its own setting holds";
    const std::string whole = root.read("plain");
    const struct {
        const char *name;
        std::string content;
    } cases[] = {{"empty", ""},
                 {"text", "root:x:0:0\n"},
                 {"garbage", std::string(100000, '\xA5')},
                 {"zeros", std::string(8192, '\0')},
                 {"cut", whole.substr(0, 4096)},
                 {"short", whole.substr(0, whole.size() - 1)},
                 {"longer", whole + std::string(4096, '\0')}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = root.write(c.name, c.content);
        EXPECT_EQ(open_code(path), ERR_STORE_INVALID);
        EXPECT_EQ(open_code(path, O_RDWR | O_CREAT), ERR_STORE_INVALID);
        if (!c.content.empty()) {
            EXPECT_EQ(open_code(path, O_RDWR | O_TRUNC), ERR_STORE_INVALID);
        }
        EXPECT_EQ(root.read(c.name), c.content) << "a file is never replaced";
    }
    EXPECT_EQ(open_code(root.path("empty"), O_RDWR | O_TRUNC), 0) << "there is nothing to lose";
    ASSERT_EQ(symlink("plain", root.path("link").c_str()), 0);
    EXPECT_EQ(open_code(root.path("link"), O_RDWR | O_TRUNC), ERR_OPEN_FAILED);
    EXPECT_EQ(root.read("plain"), whole);
}

TEST(StoreFile, MustBeARegularFile) {
    ScratchRoot root;
    const std::string fifo = root.path("fifo"), to_fifo = root.path("to_fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0666) | symlink("fifo", to_fifo.c_str()), 0);
    ASSERT_EQ(symlink("nothing", root.path("to_nothing").c_str()), 0);
    for (const std::string &path : {fifo, to_fifo, root.dir(), std::string("/dev/null")}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(open_code(path), ERR_OPEN_FAILED);
        EXPECT_EQ(open_code(path, O_RDWR | O_CREAT | O_TRUNC), ERR_OPEN_FAILED);
    }
    EXPECT_EQ(open_code(root.path("to_nothing"), O_RDWR | O_CREAT), ERR_OPEN_FAILED);
    EXPECT_EQ(access(root.path("nothing").c_str(), F_OK), -1) << "nothing is created through a link";
    filled_store(root, "store", 0, 1);
    ASSERT_EQ(symlink("store", root.path("to_store").c_str()), 0);
    EXPECT_EQ(open_code(root.path("to_store")), 0);
}

TEST(StoreFile, RefusesWritesWhenOpenedForReadingWithoutAWord) {
    ScratchRoot root;
    Store store(filled_store(root, "store", 0, 10), O_RDONLY);
    const Silent silent;
    EXPECT_TRUE(gives(-1, ERR_STORE_WRITE_FAILED, store.set("a", "b")));
    EXPECT_TRUE(gives(-1, ERR_STORE_DELETE_FAILED, store.remove("USER1")));
    EXPECT_TRUE(gives(-1, ERR_SUCCESS, MORVBDbDeprecatedSet(store.db, 1)))
        << "the removal of the old mark sets no code";
}

TEST(StoreFile, IsReleasedWithZeroAndTheCodeOfTheDiskWhenClosingFails) {
    ScratchRoot root;
    const std::string path = filled_store(root, "store", 0, 10);
    const int descriptors = open_descriptors();
    const struct {
        int error, code;
    } cases[] = {{EIO, ERR_DISK_IO_FAILED},
                 {EINTR, ERR_INTERRUPTED},
                 {ENOSPC, ERR_NOT_ENOUGH_SPACE},
                 {EROFS, ERR_READ_ONLY_FS},
                 {EFBIG, ERR_SUCCESS}};
    for (const auto &[error, code] : cases) {
        SCOPED_TRACE(strerror(error));
        Store store(path, O_RDWR);
        ASSERT_EQ(store.set("key", "value"), 0);
        const Silent silent;
        MLIBErrSet(ERR_SUCCESS);
        logged.clear();
        sync_error = error;
        const int closed = store.close();
        sync_error = 0;
        EXPECT_TRUE(gives(0, code, closed));
        const std::string line =
            " errno=" + std::to_string(error) + "/" + strerror(error) + ", db->close failed.";
        EXPECT_TRUE(last_logged().starts_with("bdb_close:") && last_logged().ends_with(line)) << logged;
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

// Whatever the library itself writes it must find sound, else a mirror would be built again and again.
TEST(StoreFile, IsSoundAfterAnyHistory) {
    for (int duplicates : {0, 1}) {
        for (unsigned seed = 1; seed <= 6; ++seed) {
            SCOPED_TRACE(testing::Message() << "duplicates " << duplicates << " seed " << seed);
            ScratchRoot root;
            const std::string path = root.path("store");
            std::minstd_rand random(seed);
            std::multimap<std::string, std::string> expected;
            for (int round = 0; round < 12; ++round) {
                Store store(path, O_RDWR | O_CREAT, duplicates);
                ASSERT_NE(store.db, nullptr) << "refused in round " << round;
                Walk walk;
                for (int i = 0; i < 500; ++i) {
                    std::string key = std::to_string(random() % (duplicates && seed % 2 ? 20 : 400));
                    if (random() % 8 == 0) key += std::string(900 + random() % 6000, 'k');
                    std::string value(1 + random() % 120, 'v');
                    if (random() % 10 == 0) value.resize(1 + random() % 9000, 'w');
                    switch (random() % (round % 3 == 2 ? 2 : 8)) {
                        case 0:
                        case 1:
                            ASSERT_EQ(store.remove(key) == 0, expected.erase(key) > 0);
                            break;
                        case 2:
                            MORVBDbCursorSetType(store.db, int(2 + random() % 4));
                            walk.step(store);
                            break;
                        default:
                            ASSERT_EQ(store.set(key, value), 0);
                            if (!duplicates) expected.erase(key);
                            expected.emplace(key, value);
                    }
                }
            }
            Store store(path, O_RDWR, duplicates);
            ASSERT_NE(store.db, nullptr);
            std::string all;
            for (const auto &[key, value] : expected)
                all += key + "=" + value + " ";
            EXPECT_TRUE(Walk().all(store, MORV_BDB_FIRST) == all) << "the records differ";
        }
    }
}

TEST(StoreFile, IsSoundHoweverItHasGrown) {
    const struct {
        const char *shape;
        int duplicates, keys, key_length, records, value_length;
    } cases[] = {
        {"three levels", 0, 3000, 20, 3000, 500},
        {"few keys a page", 0, 300, 700, 300, 100},
        {"all under one key", 1, 1, 10, 12000, 400},
        {"sets of a quarter of a page", 1, 400, 12, 1600, 340},
        {"sets one record beyond that", 1, 400, 12, 1200, 951},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.shape);
        ScratchRoot root;
        const std::string path = root.path("store");
        std::minstd_rand random(1);
        Store store(path, O_RDWR | O_CREAT, c.duplicates);
        for (int i = 0; i < c.records; ++i) {
            std::string key = std::to_string(1000000 + i % c.keys * 7919 % c.keys);
            key.resize(size_t(c.key_length), 'k');
            // The last record of a set is the longest.
            const bool last = c.keys == 1 || i >= c.records - c.keys;
            const int length = last ? c.value_length : 1 + int(random() % unsigned(c.value_length)) / 8;
            ASSERT_EQ(store.set(key, std::string(size_t(length), 'v')), 0);
        }
        ASSERT_EQ(store.close(), 0);
        Store again(path, O_RDWR, c.duplicates);
        int walked = 0;
        for (Walk walk; again.db && !walk.step(again).empty();)
            ++walked;
        EXPECT_EQ(walked, c.records);
    }
}

// A file with any one byte changed is refused, or can be used without harm.
TEST(StoreFile, WithADamagedByteDoesNoHarm) {
    for (int duplicates : {0, 1}) {
        ScratchRoot root;
        const std::string whole = read_file(filled_store(root, "store", duplicates, 120));
        std::minstd_rand random(7);
        const Silent silent;
        int refused = 0;
        for (int i = 0; i < 400; ++i) {
            std::string damaged = whole;
            // Most of the structure lies at the beginning of a page.
            const size_t page = random() % (whole.size() / 4096) * 4096;
            damaged[page + random() % (i % 2 ? 64 : 4096)] ^= char(1 + random() % 255);
            Store store(root.write("damaged", damaged), O_RDWR, duplicates);
            if (!store.db) {
                EXPECT_EQ(MLIBErrGet(), ERR_STORE_INVALID);
                ++refused;
                continue;
            }
            Walk().all(store, MORV_BDB_LAST);
            store.set("USER7x", std::string(300, 'n'));
            store.remove("USER5");
            store.get("SHARED");
        }
        EXPECT_GT(refused, 80);
    }
}

TEST(StoreFile, WhoseLeavesAreChainedWronglyIsRefused) {
    ScratchRoot root;
    const std::string whole = read_file(filled_store(root, "store", 0, 120));
    int chained = 0;
    for (size_t page = 4096; page < whole.size(); page += 4096) {
        uint32_t next;
        memcpy(&next, &whole[page + 16], sizeof next);
        if (whole[page + 25] != 5 || next == 0) continue;  // no leaf, or the last
        // A walk would leave out the leaf between.
        std::string damaged = whole;
        memcpy(&damaged[page + 16], &whole[size_t{next} * 4096 + 16], sizeof next);
        EXPECT_EQ(open_code(root.write("damaged", damaged)), ERR_STORE_INVALID) << page;
        ++chained;
    }
    EXPECT_GT(chained, 2);
}

TEST(StoreFile, ChangedAfterItWasFoundSoundIsLookedAtAgain) {
    ScratchRoot root;
    const std::string path = filled_store(root, "store", 0, 200);
    usleep(50'000);
    EXPECT_EQ(open_code(path), 0);
    EXPECT_EQ(open_code(path), 0);
    const int file = open(path.c_str(), O_WRONLY);
    ASSERT_EQ(pwrite(file, "\xFF\xFF\xFF\xFF", 4, 4096 + 20), 4);
    close(file);
    EXPECT_EQ(open_code(path), ERR_STORE_INVALID);
}

TEST(StoreAllocations, ThatFailAreReported) {
    ScratchRoot root;
    const std::string path = filled_store(root, "store", 0, 200);
    const int before = open_descriptors();
    usleep(50'000);
    for (int nth = 1; nth <= 4; ++nth) {
        AllocFault fault(nth);
        MORVBDB *db = MORVBDbOpen(path.c_str(), O_RDWR, 0);
        ASSERT_TRUE(AllocFault::disarm());
        EXPECT_EQ(db, nullptr);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
    }
    EXPECT_EQ(open_descriptors(), before);

    Store store(path, O_RDWR);
    const int faults = for_each_alloc_fault([&](int) {
        Walk walk;
        store.db->cursorType = MORV_BDB_FIRST;
        const bool walked = !walk.step(store).empty();
        const bool reached = AllocFault::disarm();
        EXPECT_TRUE(walked || reached);
        EXPECT_TRUE(walked || MLIBErrGet() == ERR_OUT_OF_MEMORY || MLIBErrGet() == ERR_STORE_READ_FAILED);
        return reached;
    });
    EXPECT_GE(faults, 2);
}

}  // namespace
