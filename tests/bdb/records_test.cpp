#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "bdb/store.h"
#include "support/outcome.h"
#include "support/scratch.h"

using namespace testing_support;
using bdb_test::Store;
using bdb_test::Walk;

namespace {

time_t faked_time;

}  // namespace

extern "C" __attribute__((visibility("default"))) time_t time(time_t *out) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const time_t answer = faked_time ? faked_time : now.tv_sec;
    if (out) *out = answer;
    return answer;
}

namespace {

TEST(StoreRecords, AreKeptAcrossCloseAndOpen) {
    ScratchRoot root;
    const std::string path = root.path("store");
    const std::string binary("a\0b", 3);
    {
        Store store(path);
        ASSERT_EQ(store.set(binary, std::string(100000, 'x')), 0);
        ASSERT_EQ(store.set("key", "first"), 0);
        ASSERT_EQ(store.set("key", "second"), 0) << "replaces";
        EXPECT_EQ(store.close(), 0);
    }
    Store store(path, O_RDWR);
    EXPECT_EQ(store.get("key"), "second");
    EXPECT_EQ(store.get(binary), std::string(100000, 'x'));
    EXPECT_EQ(store.get("a"), std::nullopt);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_NOT_FOUND);
    EXPECT_STREQ(MORVErrorGetFile(), "bdb_get");
    EXPECT_EQ(store.remove("key"), 0);
    EXPECT_EQ(store.remove("key"), -1);
    EXPECT_STREQ(MORVErrorGetFile(), "bdb_delete");
}

TEST(StoreRecords, AreAllRemovedWithTheirKeyAndReadFirstOne) {
    ScratchRoot root;
    Store store(root.path("store"), O_RDWR | O_CREAT, 1);
    for (const char *value : {"one", "two", "three"})
        ASSERT_EQ(store.set("key", value), 0);
    EXPECT_EQ(store.get("key"), "one");
    EXPECT_EQ(Walk().all(store, MORV_BDB_FIRST), "key=one key=two key=three ");
    EXPECT_EQ(store.remove("key"), 0);
    EXPECT_EQ(store.get("key"), std::nullopt);
}

TEST(StoreRecords, ReserveKeysExistOnceAlsoWithDuplicates) {
    ScratchRoot root;
    Store store(root.path("store"), O_RDWR | O_CREAT, 1);
    ASSERT_EQ(MORVBDbConfSyncTimeSet(store.db, 1), 0);
    ASSERT_EQ(MORVBDbConfSyncTimeSet(store.db, 2), 0);
    ASSERT_EQ(store.set("#", "a"), 0);
    ASSERT_EQ(store.set("#", "b"), 0);
    const int32_t time = 2;
    const std::string stored(reinterpret_cast<const char *>(&time), sizeof time);
    EXPECT_EQ(Walk().all(store, MORV_BDB_FIRST), "#=b #MORV@SYNC@TIME=" + stored + " ");
}

TEST(StoreArguments, AreRefusedWhenNullEmptyOrNegative) {
    ScratchRoot root;
    Store store(root.path("store"));
    MORVBDB *const db = store.db;
    void *buffer = nullptr;
    int size = 0, negative = -1;
    DBT item = {nullptr, 1};
    EXPECT_TRUE(refuse_nulls(-1, MORVBDbClose, MORVBDbGet, MORVBDbSet, MORVBDbDelete, MORVBDbCursorSetType,
                             MORVBDbCursorGet, MORVBDbDeprecatedGet, MORVCheckAndRealloc, DBTCopyOut,
                             DBTSet));
    EXPECT_TRUE(refuse_nulls(nullptr, MORVBDbOpen));
    EXPECT_TRUE(refuse_nulls(0, MORVBDbIsNeedToDomainRebuild));
    EXPECT_TRUE(refuses(nullptr, MORVBDbOpen("", O_RDWR | O_CREAT, 0)));
    EXPECT_TRUE(refuses(-1, MORVBDbGet(db, nullptr, 1, &buffer, &size)));
    EXPECT_TRUE(refuses(-1, MORVBDbGet(db, "k", -1, &buffer, &size)));
    EXPECT_TRUE(refuses(-1, MORVBDbGet(db, "k", 1, &buffer, nullptr)));
    EXPECT_TRUE(refuses(-1, MORVBDbSet(db, nullptr, 1, "v", 1)));
    EXPECT_TRUE(refuses(-1, MORVBDbSet(db, "k", 1, nullptr, 1)));
    EXPECT_TRUE(refuses(-1, MORVBDbSet(db, "k", 1, "v", INT_MIN)));
    EXPECT_TRUE(refuses(-1, MORVBDbDelete(db, "k", 0)));
    EXPECT_TRUE(refuses(-1, MORVBDbCursorSetType(db, 6)));
    EXPECT_TRUE(refuses(-1, MORVBDbCursorGet(db, 0, &buffer, &negative, &buffer, &size)));
    EXPECT_TRUE(refuses(-1, MORVCheckAndRealloc(&buffer, &size, -1)));
    EXPECT_TRUE(refuses(-1, DBTCopyOut(&item, &buffer, &size)));
    db->cursorType = MORV_BDB_CURSOR;
    EXPECT_TRUE(refuses(-1, MORVBDbCursorGet(db, 0, &buffer, &size, &buffer, &size)))
        << "no key to start from";
}

TEST(StoreBuffers, GrowOnlyForLongerRecords) {
    ScratchRoot root;
    Store store(root.path("store"));
    store.set("long", std::string(101, 'l'));
    store.set("short", "s");
    void *const own = malloc(100);
    void *buffer = own, *fresh = nullptr;
    int size = 100, ignored = 100;
    ASSERT_EQ(MORVBDbGet(store.db, "short", 5, &buffer, &size), 0);
    EXPECT_TRUE(buffer == own && size == 1);
    size = 100;
    ASSERT_EQ(MORVBDbGet(store.db, "long", 4, &buffer, &size), 0);
    EXPECT_EQ(std::string(static_cast<char *>(buffer), size_t(size)), std::string(101, 'l'));
    ASSERT_EQ(MORVBDbGet(store.db, "short", 5, &fresh, &ignored), 0) << "a null buffer has no size";
    EXPECT_EQ(*static_cast<char *>(fresh), 's');
    MORVBDbFree(buffer);
    MORVBDbFree(fresh);
}

TEST(StoreWalk, GoesAsTheCursorSaysAndSkipsReservedRecordsOnDemand) {
    ScratchRoot root;
    Store store(root.path("store"));
    for (const char *key : {"#1", "#2", "b", "d", "f"})
        ASSERT_EQ(store.set(key, "v"), 0);
    Walk walk;
    EXPECT_EQ(walk.step(store), "#1=v") << "a new handle stands before the first record";
    EXPECT_EQ(walk.all(store, MORV_BDB_FIRST), "#1=v #2=v b=v d=v f=v ");
    EXPECT_EQ(MLIBErrGet(), ERR_STORE_END);
    EXPECT_EQ(walk.all(store, MORV_BDB_LAST), "f=v d=v b=v #2=v #1=v ");
    EXPECT_EQ(walk.all(store, MORV_BDB_LAST, 1), "f=v d=v b=v ");
    constexpr int kCursor = MORV_BDB_CURSOR, kFirst = MORV_BDB_FIRST, kLast = MORV_BDB_LAST, kUnknown = 9;
    const struct {
        const char *key;
        int type, skip;
        const char *found;
        int type_after;
    } cases[] = {{"", kFirst, 0, "#1=v", kFirst},       {"", kUnknown, 0, "#2=v", kUnknown},
                 {"", kFirst, 1, "b=v", MORV_BDB_NEXT}, {"", MORV_BDB_NEXT, 1, "d=v", MORV_BDB_NEXT},
                 {"", kLast, 1, "f=v", kLast},          {"b", kCursor, 0, "b=v", kCursor},
                 {"c", kCursor, 0, "d=v", kCursor},     {"#1", kCursor, 0, "#1=v", kCursor},
                 {"#1", kCursor, 1, "b=v", kCursor},    {"g", kCursor, 0, "", kCursor}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.type << c.key << c.skip);
        Walk from;
        from.key = strdup(c.key);
        from.key_size = int(strlen(c.key));
        store.db->cursorType = c.type;
        EXPECT_EQ(from.step(store, c.skip), c.found);
        EXPECT_EQ(store.db->cursorType, c.type_after);
    }
    for (const char *key : {"b", "d", "f"})
        store.remove(key);
    MORVBDbCursorSetType(store.db, MORV_BDB_LAST);
    EXPECT_EQ(walk.step(store, 1), "");
    EXPECT_EQ(store.db->cursorType, MORV_BDB_PREV);
    EXPECT_EQ(MLIBErrGet(), ERR_STORE_END);
}

TEST(ReservedRecords, HaveTheirExactKeysAndNativeIntegers) {
    ScratchRoot root;
    Store store(root.path("store"));
    faked_time = 0x01020304;
    ASSERT_EQ(MORVBDbConfSyncTimeSet(store.db, -2), 0);
    ASSERT_EQ(MORVBDbDeprecatedSet(store.db, 1), 0);
    ASSERT_EQ(MORVBDbDomainExpireTimeSet(store.db), 0);
    faked_time = 0;
    const auto native = [](int32_t v) { return std::string(reinterpret_cast<char *>(&v), 4); };
    EXPECT_EQ(store.get("#MORV@SYNC@TIME"), native(-2));
    EXPECT_EQ(store.get(std::string_view("#MORV@DEPRECATED", 17)), native(1));
    EXPECT_EQ(store.get("#MORV@EXPIRE@TIME"), native(0x01020304));
    EXPECT_EQ(MORVBDbDeprecatedGet(store.db), 1);
    void *buffer = nullptr;
    ASSERT_EQ(MORVBDbConfSyncTimeGet(store.db, &buffer), 0);
    EXPECT_EQ(memcmp(buffer, native(-2).data(), 4), 0);
    ASSERT_EQ(MORVBDbDomainExpireTimeGet(store.db, &buffer), 0) << "the block is used again";
    EXPECT_EQ(memcmp(buffer, native(0x01020304).data(), 4), 0);
    MORVBDbFree(buffer);
}

TEST(ReservedRecords, DecideWhetherAMirrorIsStale) {
    ScratchRoot root;
    Store store(root.path("store"));
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVBDbIsNeedToRebuild(store.db, 5)));
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVBDbDeprecatedGet(store.db)));
    MORVBDbConfSyncTimeSet(store.db, 5);
    EXPECT_EQ(MORVBDbIsNeedToRebuild(store.db, 5), 0);
    EXPECT_EQ(MORVBDbIsNeedToRebuild(store.db, 4), 1) << "an older file differs too";
}

TEST(ReservedRecords, OfAnotherLengthAreAFailure) {
    ScratchRoot root;
    Store store(root.path("store"));
    for (const char *value : {"abc", "abcde"}) {
        for (const char *key : {"#MORV@SYNC@TIME", "#MORV@EXPIRE@TIME"})
            store.set(key, value);
        store.set(std::string_view("#MORV@DEPRECATED", 17), value);
        void *buffer = nullptr;
        EXPECT_TRUE(gives(-1, ERR_STORE_READ_FAILED, MORVBDbConfSyncTimeGet(store.db, &buffer)));
        EXPECT_TRUE(gives(-1, ERR_STORE_READ_FAILED, MORVBDbDomainExpireTimeGet(store.db, &buffer)));
        EXPECT_TRUE(gives(-1, ERR_STORE_READ_FAILED, MORVBDbIsNeedToRebuild(store.db, 5)));
        EXPECT_TRUE(gives(-1, ERR_STORE_READ_FAILED, MORVBDbDeprecatedGet(store.db)));
        EXPECT_TRUE(gives(0, ERR_STORE_READ_FAILED, MORVBDbIsNeedToDomainRebuild(store.db)));
        MORVBDbFree(buffer);
    }
}

TEST(DomainRefresh, IsDueAfterMoreThanFiveMinutes) {
    ScratchRoot root;
    Store store(root.path("store"));
    EXPECT_EQ(MORVBDbIsNeedToDomainRebuild(store.db), 1) << "never refreshed";
    EXPECT_EQ(MORVBDbDomainExpireTimeDelete(store.db), 0) << "nothing to delete is no failure";
    const struct {
        time_t stored, now;
        int due;
    } cases[] = {{1000000, 1000300, 0},
                 {1000000, 1000301, 1},
                 {1000000, 999000, 0},
                 {1000000, 9000000, 1},
                 {0x7FFFFFFF, 0x7FFFFFFF + int64_t{300}, 0},
                 {0x7FFFFFFF, 0x7FFFFFFF + int64_t{301}, 1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.now);
        faked_time = c.stored;
        ASSERT_EQ(MORVBDbDomainExpireTimeSet(store.db), 0);
        faked_time = c.now;
        EXPECT_EQ(MORVBDbIsNeedToDomainRebuild(store.db), c.due);
    }
    faked_time = 0;
    EXPECT_EQ(MORVBDbDomainExpireTimeDelete(store.db), 0);
    EXPECT_EQ(MORVBDbIsNeedToDomainRebuild(store.db), 1);
}

}  // namespace
