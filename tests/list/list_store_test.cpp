#include <fcntl.h>
#include <morvsdk/bdb.h>

#include "list_model.h"
#include "support/alloc_fault.h"
#include "support/fake_syslog.h"
#include "support/scratch.h"

using namespace list_testing;
using testing_support::AllocFault;
using testing_support::last_logged;
using testing_support::logged;
using testing_support::ScratchRoot;

namespace {

struct Store {
    ScratchRoot root;
    MORVBDB *db = nullptr;

    Store() { open(O_RDWR | O_CREAT); }
    ~Store() { MORVBDbClose(db); }
    void open(int flags) {
        if (db) MORVBDbClose(db);
        db = MORVBDbOpen(root.path("store").c_str(), flags, 1);
    }
    List get(const char *key, int length) {
        void *value = nullptr;
        int size = 0;
        const int found = MORVBDbGet(db, key, length, &value, &size);
        List list(found == 0 ? MORVListDBUnpack(value, size) : nullptr);
        MORVBDbFree(value);
        return list;
    }
};

TEST(ListStore, KeepsAListUnderTheSectionInUpperCaseAndItsZero) {
    Store store;
    const List first = make({"path=/volume1"});
    const List second = make({"path=/volume2", {}, "guest=no"});
    ASSERT_EQ(MORVListDBSet(store.db, "share", first.get()), 0);
    ASSERT_EQ(MORVListDBSet(store.db, "Share", second.get()), 0);
    store.open(O_RDWR);
    const List kept = store.get("#SHARE", 7);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(items(kept.get()), items(second.get())) << "the later list replaces the one before";
    EXPECT_EQ(store.get("#SHARE", 6), nullptr);
    ASSERT_EQ(MORVListDBSet(store.db, "", first.get()), 0);
    EXPECT_NE(store.get("#", 2), nullptr);
}

TEST(ListStore, SaysWhyAListWasNotKept) {
    Store store;
    const List list = make({"a"});
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MORVListDBSet(nullptr, "share", list.get()), -1);
    EXPECT_EQ(MORVListDBSet(store.db, nullptr, list.get()), -1);
    EXPECT_EQ(MORVListDBSet(store.db, "share", nullptr), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    EXPECT_STREQ(MORVErrorGetFile(), "list_db_set");

    logged.clear();
    for (int nth = 1; nth <= 2; ++nth) {
        AllocFault fault(nth);
        EXPECT_EQ(MORVListDBSet(store.db, "share", list.get()), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OUT_OF_MEMORY);
    }
    const auto said = [&](const std::string &end) {
        return logged.starts_with("3 ") && last_logged().starts_with("list_db_set (") &&
               last_logged().ends_with(end);
    };
    EXPECT_TRUE(said("): errno=512, MORVListDBPack() failed, section[share]\n"));

    MORVListDBSet(store.db, "other", list.get());
    store.open(O_RDONLY);
    ASSERT_NE(store.db, nullptr);
    MLIBErrSet(ERR_UNKNOWN);
    EXPECT_EQ(MORVListDBSet(store.db, "share", list.get()), -1);
    EXPECT_TRUE(said("): errno=" + std::to_string(MLIBErrGet()) + ", MORVBDbSet() failed, section[share]\n"));
}

}  // namespace
