// The mirror engine: record stores that hold what some text files say, so that looking up costs a few page
// reads. It alone opens, checks, builds and swaps mirrors; a family brings a table and a builder.
//
// A mirror is never repaired in place. It is built whole under temporary names and renamed over the live
// stores, one builder at a time; whoever has the old stores open learns of it from a mark in them, and from
// the names leading to other files. So no reader sees a mirror that is half built.
//
// Each store carries, beside its sync time, one record that tells the whole state of the files when they were
// read (time to the nanosecond, size, inode) and which building it belongs to. The stores of one mirror agree
// in it; a set that does not is opened again.
#pragma once

#include <morvsdk/bdb.h>
#include <stdint.h>
#include <sys/stat.h>

#include <memory>
#include <span>

namespace morv {

inline constexpr int kMostStores = 5;
inline constexpr int kMostSources = 4;

// What tells one version of a file from another.
struct FileState {
    uint64_t device, inode, size, seconds, nanoseconds;
    bool operator==(const FileState &) const = default;
};
FileState state_of(const struct stat &st) noexcept;

struct Mirror;

struct MirrorStore {
    const char *suffix;
    bool duplicates;
    int slot;    // its place in Mirror::store
    int source;  // the file whose time is its sync time
};

struct MirrorKind {
    const char *prefix;                     // of the live stores
    const char *temporary;                  // of stores that are to become the live ones
    const char *lock;                       // keeps builders apart
    std::span<const MirrorStore> stores;    // in the order in which they are opened and renamed
    std::span<const char *const> sources;   // in the order in which they are compared
    int (*build)(Mirror &mirror) noexcept;  // fills empty stores and the states of the files it read
    const char *rebuild_name;               // of the function that builds the mirror anew, for log lines
};

struct Mirror {
    MORVBDB *store[kMostStores];  // by slot; what the handles of the families begin with
    const MirrorKind *kind;
    struct {
        uint64_t device, inode;
    } file[kMostStores];             // by slot: what was opened
    uint64_t building;               // a random number; 0 while nothing is built
    FileState source[kMostSources];  // what the stores were built from
};

struct MirrorCloser {
    void operator()(Mirror *mirror) const noexcept;
};
using MirrorPtr = std::unique_ptr<Mirror, MirrorCloser>;

// All answer 0 or an error code, and log what a person may want to know.

// Opens the live mirror, built anew when it is missing, damaged or not current. With kFirst only the first
// store is opened, and need_store opens another one: who reads a record pays for what it takes.
enum class Extent { kFirst, kWhole };
int open_mirror(const MirrorKind &kind, Extent extent, MirrorPtr *mirror) noexcept;

// Opens the stores below `prefix` (live when it is the kind's), all of them, and builds them when they are
// not complete. Does not look whether they are current.
int open_mirror_at(const MirrorKind &kind, const char *prefix, MirrorPtr *mirror, bool *built) noexcept;

// Opens the store in a slot unless it is open. ERR_STORE_INVALID when it belongs to another building: open
// the mirror again.
int need_store(Mirror &mirror, int slot) noexcept;
int need_all_stores(Mirror &mirror) noexcept;

// Whether an open mirror is current; replaces it by one that is when not.
int refresh_mirror(MirrorPtr *mirror, bool *replaced) noexcept;

// Builds the live mirror anew, whatever state it is in.
int rebuild_mirror(const MirrorKind &kind) noexcept;

// Fills the stores of an open mirror, and marks them.
int build_stores(Mirror &mirror) noexcept;

// Marks all stores as built from files of these states (by source).
int mark_stores(Mirror &mirror) noexcept;

// Mark a mirror whose stores were changed as its files were; the second closes it. The changes are written
// out before the marks, so that a mirror that looks current has all of them.
int publish_stores(Mirror &mirror) noexcept;
int publish_mirror(MirrorPtr mirror) noexcept;

// Makes sure that nobody takes the live mirror for current.
void forget_mirror(const MirrorKind &kind) noexcept;

// Opens the live mirror if it is there and current, and builds nothing. Null when it is not.
MirrorPtr current_mirror(const MirrorKind &kind) noexcept;

}  // namespace morv
