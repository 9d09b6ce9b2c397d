#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <stdarg.h>

#include "list_model.h"
#include "support/alloc_fault.h"
#include "support/scratch.h"

using namespace list_testing;
using testing_support::AllocFault;
using testing_support::ScratchRoot;

namespace {

std::vector<std::string> logged;

void log_text(int priority, const char *format, va_list args) {
    char text[1024];
    vsnprintf(text, sizeof text, format, args);
    logged.push_back(std::to_string(priority) + " " + text);
}

}  // namespace

// The library's log lines end here; a fortified build calls the second.
extern "C" {
__attribute__((visibility("default"))) void syslog(int priority, const char *format, ...) {
    va_list args;
    va_start(args, format);
    log_text(priority, format, args);
    va_end(args);
}

__attribute__((visibility("default"))) void __syslog_chk(int priority, int, const char *format, ...) {
    va_list args;
    va_start(args, format);
    log_text(priority, format, args);
    va_end(args);
}
}

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
        return !logged.empty() && logged.back().starts_with("3 list_db_set (") &&
               logged.back().ends_with(end);
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
