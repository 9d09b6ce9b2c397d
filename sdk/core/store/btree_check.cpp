#include "core/store/btree_check.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "core/base/guard.h"

namespace morv {

namespace {

// The file format: btree version 9, all integers native.

constexpr uint32_t kMagic = 0x053162;
constexpr uint32_t kVersion = 9;
constexpr uint32_t kMetaSize = 512;
constexpr uint32_t kMinPageSize = 512;
constexpr uint32_t kMaxPageSize = 32768;
constexpr uint32_t kMaxPages = 1u << 24;  // 64 GiB with pages of the usual size
constexpr uint32_t kMetaDuplicates = 1;   // in the flags of the metadata page
constexpr uint32_t kMinKeys = 2;
constexpr uint32_t kRoot = 1;
constexpr unsigned kMaxLevels = 24;
constexpr unsigned kLeafLevel = 1;

enum PageType : uint8_t {
    kFree = 0,
    kBtreeInternal = 3,
    kRecnoInternal = 4,
    kBtreeLeaf = 5,
    kRecnoLeaf = 6,
    kOverflow = 7,
    kBtreeMeta = 9,
};

enum ItemType : uint8_t { kData = 1, kDuplicates = 2, kLong = 3 };

constexpr unsigned bit(ItemType type) {
    return 1u << type;
}

constexpr uint32_t kPageHeader = 26;
constexpr uint32_t kItemHeader = 3;      // length (2), type (1), then the bytes
constexpr uint32_t kReferenceSize = 12;  // unused (2), type (1), unused (1), page (4), length (4)
constexpr uint32_t kInternalHeader =
    12;  // length (2), type (1), unused (1), page (4), records (4), then the bytes
constexpr uint32_t kRecnoItemSize = 8;  // page (4), records (4)

constexpr uint32_t aligned(uint32_t size) {
    return (size + 3) & ~3u;
}

uint16_t load16(const uint8_t *at) {
    uint16_t value;
    memcpy(&value, at, sizeof value);
    return value;
}

uint32_t load32(const uint8_t *at) {
    uint32_t value;
    memcpy(&value, at, sizeof value);
    return value;
}

struct Page {
    const uint8_t *at;

    uint32_t number() const { return load32(at + 8); }
    uint32_t prev() const { return load32(at + 12); }
    uint32_t next() const { return load32(at + 16); }
    uint32_t entries() const { return load16(at + 20); }
    uint32_t data_start() const { return load16(at + 22); }
    unsigned level() const { return at[24]; }
    uint8_t type() const { return at[25]; }
    uint32_t offset(uint32_t i) const { return load16(at + kPageHeader + size_t{2} * i); }
    const uint8_t *item(uint32_t i) const { return at + offset(i); }
};

// A key as a bound. One that is not known (none at the ends, or too long to lie on the page) bounds nothing.
struct Key {
    const uint8_t *bytes = nullptr;
    uint32_t length = 0;
};

bool in_order(Key a, Key b, bool equal_allowed) {
    if (!a.bytes || !b.bytes) return true;
    const int order = memcmp(a.bytes, b.bytes, std::min(a.length, b.length));
    if (order != 0) return order < 0;
    return equal_allowed ? a.length <= b.length : a.length < b.length;
}

// The leaves of one tree, which are chained in order.
struct LeafChain {
    uint32_t last = 0;
    uint32_t next = 0;

    bool append(const Page &leaf) {
        const bool linked = leaf.prev() == last && (last == 0 || next == leaf.number());
        last = leaf.number();
        next = leaf.next();
        return linked;
    }
    bool ended() const { return next == 0; }
};

// A reference to a chain of overflow pages. Keys of internal pages may share the chain of a leaf's key.
struct LongItem {
    uint32_t page;
    uint32_t length;
    bool shared;
};

class Checker {
  public:
    Checker(int fd, uint64_t size) : fd_(fd), size_(size) {}

    int run(bool *duplicates) {
        uint32_t free_page;
        const bool sound = metadata(&free_page) && btree() && free_list(free_page) && long_items();
        if (!sound) return error_ ? error_ : EINVAL;
        *duplicates = duplicates_;
        return 0;
    }

  private:
    bool failed(int error) {
        error_ = error;
        return false;
    }

    bool read(uint64_t offset, uint8_t *to, size_t length) {
        while (length > 0) {
            const ssize_t got = pread(fd_, to, length, static_cast<off_t>(offset));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) return failed(errno);
            if (got == 0) return false;
            to += got;
            offset += static_cast<size_t>(got);
            length -= static_cast<size_t>(got);
        }
        return true;
    }

    bool metadata(uint32_t *free_page) {
        uint8_t meta[kMetaSize];
        if (size_ < kMetaSize || !read(0, meta, sizeof meta)) return false;
        page_size_ = load32(meta + 20);
        const uint32_t last = load32(meta + 32);
        const uint32_t flags = load32(meta + 48);
        const bool plain = load32(meta + 8) == 0 && load32(meta + 12) == kMagic &&
                           load32(meta + 16) == kVersion && meta[24] == 0 && meta[25] == kBtreeMeta &&
                           meta[26] == 0 && load32(meta + 36) == 0 && (flags & ~kMetaDuplicates) == 0 &&
                           load32(meta + 76) == kMinKeys && load32(meta + 88) == kRoot;
        if (!plain || page_size_ < kMinPageSize || page_size_ > kMaxPageSize ||
            (page_size_ & (page_size_ - 1)) != 0) {
            return false;
        }
        // Reserved, and the marks of encryption and checksums.
        if (!std::all_of(meta + 92, meta + sizeof meta, [](uint8_t b) { return b == 0; })) return false;
        if (last < kRoot || last >= kMaxPages || (uint64_t(last) + 1) * page_size_ != size_) return false;
        pages_ = last + 1;
        duplicates_ = (flags & kMetaDuplicates) != 0;
        item_limit_ = (page_size_ - kPageHeader) / (kMinKeys * 2) - 10;
        *free_page = load32(meta + 28);

        seen_.reset(static_cast<uint8_t *>(calloc(pages_ / 8 + 1, 1)));
        return seen_ || failed(ENOMEM);
    }

    // Reads a page that no one has referred to yet. `depth` chooses the buffer, so that the pages on the way
    // down stay readable.
    bool take(uint32_t number, unsigned depth, Page *page) {
        if (number == 0 || number >= pages_) return false;
        uint8_t &seen = seen_.get()[number / 8];
        const auto mask = static_cast<uint8_t>(1u << (number % 8));
        if (seen & mask) return false;
        seen = seen | mask;
        MallocPtr<uint8_t> &buffer = buffers_[depth];
        if (!buffer) buffer.reset(static_cast<uint8_t *>(malloc(page_size_)));
        if (!buffer) return failed(ENOMEM);
        page->at = buffer.get();
        return read(uint64_t(number) * page_size_, buffer.get(), page_size_) && page->number() == number;
    }

    // The items of a page fill it from data_start() to its end, without a gap and without touching another.

    bool begin_items(const Page &page) {
        if (kPageHeader + 2 * page.entries() > page.data_start() || page.data_start() > page_size_)
            return false;
        memset(sizes_, 0, page_size_ / 4 * sizeof sizes_[0]);
        items_ = 0;
        return true;
    }

    bool fits(const Page &page, uint32_t i, uint32_t size) const {
        return page.offset(i) + size <= page_size_;
    }

    bool place(const Page &page, uint32_t i, uint32_t size) {
        const uint32_t offset = page.offset(i);
        if (offset < page.data_start() || offset % 4 != 0 || offset + size > page_size_ ||
            sizes_[offset / 4]) {
            return false;
        }
        sizes_[offset / 4] = static_cast<uint16_t>(size);
        ++items_;
        return true;
    }

    bool end_items(const Page &page) const {
        uint32_t offset = page.data_start();
        uint32_t count = 0;
        for (; offset < page_size_ && offset % 4 == 0 && sizes_[offset / 4]; ++count)
            offset += sizes_[offset / 4];
        return offset == page_size_ && count == items_;
    }

    bool add_long(const uint8_t *reference, bool shared) {
        if (long_count_ == long_room_) {
            const size_t room = long_room_ ? 2 * long_room_ : 64;
            void *grown = realloc(long_.get(), room * sizeof(LongItem));
            if (!grown) return failed(ENOMEM);
            static_cast<void>(long_.release());
            long_.reset(static_cast<LongItem *>(grown));
            long_room_ = room;
        }
        long_.get()[long_count_++] = {load32(reference + 4), load32(reference + 8), shared};
        return true;
    }

    // An item of a leaf, of one of the types in `allowed`. `size` receives the bytes that it takes.
    bool leaf_item(const Page &page, uint32_t i, unsigned allowed, uint32_t *size) {
        if (!fits(page, i, kItemHeader)) return false;
        const uint8_t *item = page.item(i);
        const uint8_t type = item[2];
        if (type > kLong || !(allowed & (1u << type))) return false;
        if (type == kData) {
            const uint32_t length = load16(item);
            *size = aligned(kItemHeader + length);
            return length <= item_limit_ && place(page, i, *size);
        }
        *size = kReferenceSize;
        return place(page, i, kReferenceSize) && (type != kLong || add_long(item, false));
    }

    static Key leaf_key(const Page &page, uint32_t i) {
        const uint8_t *item = page.item(i);
        if (item[2] != kData) return {};
        return {item + kItemHeader, load16(item)};
    }

    static Key internal_key(const Page &page, uint32_t i) {
        const uint8_t *item = page.item(i);
        if (i == 0 || item[2] != kData) return {};
        return {item + kInternalHeader, load16(item)};
    }

    bool btree() {
        LeafChain chain;
        return btree_page(kRoot, 0, 0, {}, {}, &chain) && chain.ended();
    }

    // `level` 0 stands for a root, which says itself how high its tree is.
    bool btree_page(uint32_t number, unsigned level, unsigned depth, Key from, Key to, LeafChain *chain) {
        Page page;
        if (!take(number, depth, &page)) return false;
        if (level == 0) level = page.level();
        if (page.level() != level || level < kLeafLevel || level > kMaxLevels || !begin_items(page))
            return false;
        if (level == kLeafLevel) return btree_leaf(page, depth, from, to, chain);

        const uint32_t count = page.entries();
        // A split leaves a link to the next page that nobody follows.
        if (page.type() != kBtreeInternal || count == 0 || page.prev() != 0 || page.next() >= pages_)
            return false;
        Key last = from;
        for (uint32_t i = 0; i < count; ++i) {
            if (!fits(page, i, kInternalHeader)) return false;
            const uint8_t *item = page.item(i);
            const uint32_t length = load16(item);
            if (length > item_limit_ || !place(page, i, aligned(kInternalHeader + length))) return false;
            if (item[2] == kLong) {
                if (length != kReferenceSize || item[kInternalHeader + 2] != kLong ||
                    !add_long(item + kInternalHeader, true)) {
                    return false;
                }
            } else if (item[2] != kData) {
                return false;
            }
            const Key key = internal_key(page, i);
            if (!in_order(last, key, i <= 1) || !in_order(key, to, false)) return false;
            if (i > 0) last = key;
        }
        if (!end_items(page)) return false;
        for (uint32_t i = 0; i < count; ++i) {
            const Key low = i == 0 ? from : internal_key(page, i);
            const Key high = i + 1 == count ? to : internal_key(page, i + 1);
            if (!btree_page(load32(page.item(i) + 4), level - 1, depth + 1, low, high, chain)) return false;
        }
        return true;
    }

    bool btree_leaf(const Page &page, unsigned depth, Key from, Key to, LeafChain *chain) {
        const uint32_t count = page.entries();
        if (page.type() != kBtreeLeaf || count % 2 != 0 || !chain->append(page)) return false;
        const unsigned data_types = bit(kData) | bit(kLong) | (duplicates_ ? bit(kDuplicates) : 0);
        Key last = from;
        bool has_trees = false;
        uint32_t set = 0;        // records of the present key
        uint32_t set_bytes = 0;  // and the space of their data
        for (uint32_t i = 0; i < count; i += 2) {
            uint32_t size;
            if (duplicates_ && i > 0 && page.offset(i) == page.offset(i - 2)) {
                // Records with one key on the page share it.
                ++set;
            } else {
                if (!leaf_item(page, i, bit(kData) | bit(kLong), &size)) return false;
                const Key key = leaf_key(page, i);
                if (!in_order(last, key, i == 0) || !in_order(key, to, false)) return false;
                last = key;
                set = 1;
                set_bytes = 0;
            }
            if (!leaf_item(page, i + 1, data_types, &size)) return false;
            set_bytes += size;
            const bool tree = page.item(i + 1)[2] == kDuplicates;
            has_trees |= tree;
            // A tree holds all records of its key; a page must stay one that can be split between two keys. A
            // set moves to a tree when a record comes to one that fills a quarter of the page.
            if (tree && set > 1) return false;
            if (set > 2 && set_bytes >= page_size_ / 4 + aligned(kItemHeader + item_limit_)) return false;
            if (set > 1 && page.item(i - 1)[2] == kDuplicates) return false;
        }
        if (!end_items(page)) return false;
        if (!has_trees) return true;
        for (uint32_t i = 1; i < count; i += 2) {
            const uint8_t *item = page.item(i);
            uint32_t records;
            LeafChain leaves;
            if (item[2] == kDuplicates &&
                !(recno_page(load32(item + 4), 0, depth + 1, &leaves, &records) && leaves.ended())) {
                return false;
            }
        }
        return true;
    }

    // The tree of the records of one key. `records` receives how many there are.
    bool recno_page(uint32_t number, unsigned level, unsigned depth, LeafChain *chain, uint32_t *records) {
        Page page;
        if (!take(number, depth, &page)) return false;
        const bool root = level == 0;
        if (root) level = page.level();
        if (page.level() != level || level < kLeafLevel || level > kMaxLevels || !begin_items(page))
            return false;
        const uint32_t count = page.entries();
        if (level == kLeafLevel) {
            if (page.type() != kRecnoLeaf || !chain->append(page)) return false;
            uint32_t size;
            for (uint32_t i = 0; i < count; ++i) {
                if (!leaf_item(page, i, bit(kData) | bit(kLong), &size)) return false;
            }
            *records = count;
            return end_items(page);
        }

        if (page.type() != kRecnoInternal || count == 0 || page.next() >= pages_) return false;
        for (uint32_t i = 0; i < count; ++i) {
            if (!place(page, i, kRecnoItemSize)) return false;
        }
        if (!end_items(page)) return false;
        uint32_t total = 0;
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t below;
            const uint8_t *item = page.item(i);
            if (!recno_page(load32(item), level - 1, depth + 1, chain, &below) || below != load32(item + 4)) {
                return false;
            }
            total += below;
        }
        *records = total;
        return !root || page.prev() == total;  // a root keeps its count there
    }

    bool free_list(uint32_t number) {
        while (number != 0) {
            Page page;
            if (!take(number, 0, &page) || page.type() != kFree) return false;
            number = page.next();
        }
        return true;
    }

    // Each chain is read once, after all references to it are known.
    bool long_items() {
        LongItem *const all = long_.get();
        std::sort(all, all + long_count_,
                  [](const LongItem &a, const LongItem &b) { return a.page < b.page; });
        for (size_t i = 0; i < long_count_;) {
            const LongItem &first = all[i];
            uint32_t references = 0;
            uint32_t owners = 0;
            for (; i < long_count_ && all[i].page == first.page; ++i) {
                if (all[i].length != first.length) return false;
                ++references;
                owners += !all[i].shared;
            }
            if (owners > 1 || !long_item(first, references)) return false;
        }
        return true;
    }

    bool long_item(const LongItem &item, uint32_t references) {
        uint32_t number = item.page;
        uint32_t prev = 0;
        uint32_t rest = item.length;
        while (number != 0) {
            Page page;
            if (!take(number, 0, &page) || page.type() != kOverflow || page.prev() != prev) return false;
            const uint32_t length =
                page.data_start();  // an overflow page keeps its length and references there
            if (length == 0 || length > page_size_ - kPageHeader || length > rest) return false;
            if (prev == 0 && page.entries() != references) return false;
            rest -= length;
            prev = number;
            number = page.next();
        }
        return rest == 0 && prev != 0;
    }

    const int fd_;
    const uint64_t size_;
    int error_ = 0;
    uint32_t page_size_ = 0;
    uint32_t pages_ = 0;
    uint32_t item_limit_ = 0;  // longer items lie on overflow pages
    bool duplicates_ = false;
    MallocPtr<uint8_t> seen_;  // a bit a page
    MallocPtr<uint8_t> buffers_[2 * kMaxLevels];
    MallocPtr<LongItem> long_;
    size_t long_count_ = 0;
    size_t long_room_ = 0;
    uint32_t items_ = 0;
    uint16_t sizes_[kMaxPageSize / 4];  // of the item that begins there, on the page being looked at
};

}  // namespace

int check_btree(int fd, uint64_t size, bool *duplicates) noexcept {
    return Checker(fd, size).run(duplicates);
}

}  // namespace morv
