// The ring file of an event log: records one behind the other, the oldest of which make room for new ones.
//
//     0   "MORV"
//     8   head: where the oldest record begins
//     12  tail: where the next record goes
//     16  records, each opened by its length (2 bytes)
//
// With tail at or behind head the records lie between them. With tail before head the ring has wrapped: they lie
// from head to a length of zero, or to the end of the file, and then from 16 to tail. Integers are big-endian.
//
// A record is complete before tail is moved behind it, and is no longer between head and tail before its bytes
// are written over, so that whoever is killed in between leaves a sound ring.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

inline constexpr int32_t kRingFirst = 16;  // where the first record lies
inline constexpr int32_t kRingHeadAt = 8;  // where the header has the two offsets
inline constexpr int32_t kRingTailAt = 12;
inline constexpr size_t kRingRecordFixed = 24;  // the bytes of a record before its texts
inline constexpr size_t kRingRecordMost = UINT16_MAX;

// Writes a new header unless the file has one. Answers the bytes written (12), the bytes of a sound one (4), or -1.
int ring_init(int fd) noexcept;

// Reads and stores one of the two offsets; storing syncs the file. Answer -1 on failure.
int ring_load_offset(int fd, int32_t at) noexcept;
int ring_store_offset(int fd, int32_t at, int32_t offset) noexcept;

// Appends a record, at most `limit` bytes into the file. Answers 0 or
//   ERR_NOT_ENOUGH_SPACE  it is longer than the ring can hold; nothing was dropped for it
//   ERR_FORMAT_ERROR      a record that had to be dropped is damaged
//   ERR_STAT_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED, ERR_OUT_OF_MEMORY
int ring_append(int fd, std::string_view record, int32_t limit) noexcept;

// What a ring held at one moment.
class RingSnapshot {
  public:
    // Answers 0, ERR_STAT_FAILED, ERR_READ_FAILED, ERR_OUT_OF_MEMORY, or ERR_FORMAT_ERROR for a file that
    // is no ring. A file that ends in its header is an empty ring.
    int load(int fd) noexcept;

    int64_t file_size() const noexcept { return file_size_; }
    int32_t head() const noexcept { return head_; }  // as stored
    int32_t tail() const noexcept { return tail_; }
    bool head_is_sound() const noexcept { return head_ >= kRingFirst && head_ <= limit_; }
    bool tail_is_sound() const noexcept { return tail_ >= kRingFirst && tail_ <= limit_; }

  private:
    friend class RingWalk;

    MallocPtr<char> bytes_;
    int32_t limit_ = kRingFirst;  // how many bytes there are
    int64_t file_size_ = 0;
    int32_t head_ = kRingFirst, tail_ = kRingFirst;
};

// A walk over the records, the oldest first. A head that lies nowhere counts as 16, a tail that lies nowhere as the
// end of the file.
class RingWalk {
  public:
    enum OnDamage {
        kStop,
        kGoOn  // in the older part of a ring that has wrapped: with the newer one
    };
    explicit RingWalk(const RingSnapshot &ring, OnDamage on_damage = kStop) noexcept;

    // Answers whether there is a further record.
    bool next() noexcept;

    std::string_view record() const noexcept { return record_; }
    int32_t offset() const noexcept { return int32_t(record_.data() - ring_.bytes_.get()); }

    // Behind the last record, once next() has answered false.
    int32_t position() const noexcept { return position_; }

    // Where the first length is that cannot be one; 0 when there is none.
    int32_t damage() const noexcept { return damage_; }

    bool wrapped() const noexcept { return wrapped_; }

  private:
    const RingSnapshot &ring_;
    const OnDamage on_damage_;
    const bool wrapped_;
    bool in_older_part_;
    int32_t position_;
    int32_t end_;
    int32_t damage_ = 0;
    std::string_view record_;
};

}  // namespace morv
