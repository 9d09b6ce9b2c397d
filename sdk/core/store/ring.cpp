#include "core/store/ring.h"

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "core/base/bytes.h"

namespace morv {

namespace {

constexpr char kMagic[4] = {'M', 'O', 'R', 'V'};
constexpr int32_t kMarkSize = 2;  // of a length, and so of the zero that ends the older part

// Answers the bytes read; fewer than asked for at the end of the file only.
ssize_t read_at(int fd, void *buffer, size_t size, int64_t offset) noexcept {
    size_t done = 0;
    while (done < size) {
        const ssize_t got =
            pread(fd, static_cast<char *>(buffer) + done, size - done, off_t(offset) + off_t(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += size_t(got);
    }
    return ssize_t(done);
}

bool write_at(int fd, const void *buffer, size_t size, int32_t offset) noexcept {
    size_t done = 0;
    while (done < size) {
        const ssize_t put =
            pwrite(fd, static_cast<const char *>(buffer) + done, size - done, offset + off_t(done));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += size_t(put);
    }
    return true;
}

bool store_both(int fd, int32_t head, int32_t tail) noexcept {
    char both[8];
    store_be32(both, uint32_t(head));
    store_be32(both + 4, uint32_t(tail));
    return write_at(fd, both, sizeof both, kRingHeadAt);
}

bool has_magic(const char *header) noexcept {
    return memcmp(header, kMagic, sizeof kMagic) == 0;
}

// The name last: what has it has a header.
bool write_header(int fd) noexcept {
    return store_both(fd, kRingFirst, kRingFirst) && write_at(fd, kMagic, sizeof kMagic, 0);
}

// What a file says of itself as a ring.
struct Header {
    int64_t file_size;
    bool is_empty;  // the file
    bool is_named;
    bool is_whole;
    int32_t head, tail;
};

int read_header(int fd, Header &header) noexcept {
    struct stat st;
    if (fstat(fd, &st) != 0) return ERR_STAT_FAILED;
    char bytes[kRingFirst] = {};
    const ssize_t got = read_at(fd, bytes, sizeof bytes, 0);
    if (got < 0) return ERR_READ_FAILED;
    header = {st.st_size,
              got == 0,
              has_magic(bytes),
              size_t(got) == sizeof bytes,
              int32_t(load_be32(bytes + kRingHeadAt)),
              int32_t(load_be32(bytes + kRingTailAt))};
    return 0;
}

// A ring that is about to take a record.
class Appending {
  public:
    Appending(int fd, int32_t length, int32_t limit) noexcept : fd_(fd), length_(length), limit_(limit) {}

    int find_ends() noexcept;
    int make_room() noexcept;
    int32_t place() const noexcept { return tail_; }

  private:
    enum class Next { kRecord, kEnd, kDamage, kFailed };
    Next next(int32_t at, int64_t end, int32_t &length) const noexcept;
    int drop_older_part() noexcept;
    int wrap() noexcept;

    const int fd_;
    const int32_t length_;
    const int32_t limit_;
    int64_t size_ = 0;
    int32_t head_ = 0, tail_ = 0;
};

int Appending::find_ends() noexcept {
    Header header;
    if (int code = read_header(fd_, header)) return code;
    size_ = header.file_size;
    head_ = tail_ = kRingFirst;
    if (!header.is_named) return write_header(fd_) ? 0 : ERR_WRITE_FAILED;
    if (header.is_whole) {
        head_ = header.head;
        tail_ = header.tail;
        if (head_ >= kRingFirst && head_ <= size_ && tail_ >= kRingFirst && tail_ <= size_) return 0;
        RingSnapshot ring;
        if (int code = ring.load(fd_)) return code;
        RingWalk walk(ring);
        while (walk.next()) {
        }
        if (!ring.head_is_sound()) head_ = kRingFirst;
        tail_ = walk.position();
    }
    return store_both(fd_, head_, tail_) ? 0 : ERR_WRITE_FAILED;
}

// Looks at the record at `at`, which ends before `end`.
Appending::Next Appending::next(int32_t at, int64_t end, int32_t &length) const noexcept {
    char bytes[2];
    const ssize_t got = end - at < kMarkSize ? 0 : read_at(fd_, bytes, sizeof bytes, at);
    if (got < 0) return Next::kFailed;
    if (got < kMarkSize) return Next::kEnd;
    length = load_be16(bytes);
    if (length == 0) return Next::kEnd;
    return length < int32_t(kRingRecordFixed) || length > end - at ? Next::kDamage : Next::kRecord;
}

// Moves head on until there is room behind tail. At the end of the older part the ring is one again that has not
// wrapped, and may still lack the room.
int Appending::drop_older_part() noexcept {
    int32_t head = head_;
    while (head - tail_ <= length_ || int64_t{tail_} + length_ > limit_ - kMarkSize) {
        int32_t length = 0;
        const Next found = next(head, size_, length);
        if (found == Next::kFailed) return ERR_READ_FAILED;
        // What lies behind damage cannot be found; the newer part is as sound as before.
        if (found != Next::kRecord) {
            head = kRingFirst;
            break;
        }
        head += length;
    }
    if (head == head_) return 0;
    head_ = head;
    return ring_store_offset(fd_, kRingHeadAt, head_) < 0 ? ERR_WRITE_FAILED : 0;
}

// Gives up what is behind tail, and drops the oldest records until there is room at the beginning.
int Appending::wrap() noexcept {
    int32_t head = head_;
    while (head < tail_ && head - kRingFirst <= length_) {
        int32_t length = 0;
        const Next found = next(head, tail_, length);
        if (found == Next::kFailed) return ERR_READ_FAILED;
        if (found != Next::kRecord) return ERR_FORMAT_ERROR;
        head += length;
    }
    if (head >= tail_) {
        // It needs the room of all others.
        head_ = tail_ = kRingFirst;
        return store_both(fd_, head_, tail_) && fsync(fd_) == 0 ? 0 : ERR_WRITE_FAILED;
    }
    const char mark[kMarkSize] = {};
    // In a file that is longer than the ring may be by now, its end does as well.
    const bool marked = tail_ <= limit_ - kMarkSize ? write_at(fd_, mark, sizeof mark, tail_)
                                                    : size_ == tail_ || ftruncate(fd_, tail_) == 0;
    if (!marked) return ERR_WRITE_FAILED;
    if (head != head_ && ring_store_offset(fd_, kRingHeadAt, head) < 0) return ERR_WRITE_FAILED;
    head_ = head;
    tail_ = kRingFirst;
    return 0;
}

int Appending::make_room() noexcept {
    if (tail_ < head_) {
        if (int code = drop_older_part()) return code;
        if (tail_ < head_) return 0;
    }
    return int64_t{tail_} + length_ <= limit_ - kMarkSize ? 0 : wrap();
}

}  // namespace

int ring_init(int fd) noexcept {
    char found[sizeof kMagic] = {};
    if (read_at(fd, found, sizeof found, 0) < 0) return -1;
    if (has_magic(found)) return sizeof kMagic;
    return write_header(fd) ? int(sizeof kMagic) + 8 : -1;
}

int ring_load_offset(int fd, int32_t at) noexcept {
    char bytes[4];
    return read_at(fd, bytes, sizeof bytes, at) == sizeof bytes ? int32_t(load_be32(bytes)) : -1;
}

int ring_store_offset(int fd, int32_t at, int32_t offset) noexcept {
    char bytes[4];
    store_be32(bytes, uint32_t(offset));
    return write_at(fd, bytes, sizeof bytes, at) && fsync(fd) == 0 ? int(sizeof bytes) : -1;
}

int ring_append(int fd, std::string_view record, int32_t limit) noexcept {
    if (record.size() > kRingRecordMost || int64_t(record.size()) > int64_t{limit} - kRingFirst - kMarkSize) {
        return ERR_NOT_ENOUGH_SPACE;
    }
    Appending ring(fd, int32_t(record.size()), limit);
    if (int code = ring.find_ends()) return code;
    if (int code = ring.make_room()) return code;
    if (!write_at(fd, record.data(), record.size(), ring.place())) return ERR_WRITE_FAILED;
    const int32_t tail = ring.place() + int32_t(record.size());
    return ring_store_offset(fd, kRingTailAt, tail) < 0 ? ERR_WRITE_FAILED : 0;
}

int RingSnapshot::load(int fd) noexcept {
    Header header;
    if (int code = read_header(fd, header)) return code;
    file_size_ = header.file_size;
    if (!header.is_named && !header.is_empty) return ERR_FORMAT_ERROR;
    if (!header.is_whole) return 0;
    head_ = header.head;
    tail_ = header.tail;
    limit_ = int32_t(std::min<int64_t>(file_size_, INT32_MAX));
    // What lies behind the newest record of a ring that has not wrapped is of no use.
    if (head_is_sound() && tail_is_sound() && head_ <= tail_) limit_ = tail_;
    bytes_.reset(static_cast<char *>(malloc(size_t(limit_))));
    if (!bytes_) return ERR_OUT_OF_MEMORY;
    const ssize_t size = read_at(fd, bytes_.get(), size_t(limit_), 0);
    if (size < kRingFirst) return ERR_READ_FAILED;
    limit_ = int32_t(size);  // another one has cut the file
    return 0;
}

RingWalk::RingWalk(const RingSnapshot &ring, OnDamage on_damage) noexcept
    : ring_(ring),
      on_damage_(on_damage),
      wrapped_(ring.head_is_sound() && ring.tail_is_sound() && ring.tail_ < ring.head_),
      in_older_part_(wrapped_),
      position_(ring.head_is_sound() ? ring.head_ : kRingFirst),
      end_(ring.tail_is_sound() ? ring.tail_ : ring.limit_) {}

bool RingWalk::next() noexcept {
    for (;;) {
        const int32_t end = in_older_part_ ? ring_.limit_ : end_;
        if (!in_older_part_ && position_ >= end) return false;
        const char *const at = ring_.bytes_.get() + position_;
        const int32_t length = end - position_ < kMarkSize ? 0 : load_be16(at);
        if (length >= int32_t(kRingRecordFixed) && length <= end - position_) {
            record_ = {at, size_t(length)};
            position_ += length;
            return true;
        }
        const bool is_end = in_older_part_ && length == 0;
        if (!is_end && damage_ == 0) damage_ = position_;
        if (!is_end && (!in_older_part_ || on_damage_ == kStop)) return false;
        in_older_part_ = false;
        position_ = kRingFirst;
    }
}

}  // namespace morv
