// The items of a block of the configuration backup, as bytes: the one place that knows how they are written.
//
//     number   type 2, length 4, value              each of these a 32-bit big-endian integer
//     text     type 1, length, that many bytes, of which the last is a zero
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

namespace morv {

inline constexpr size_t kItemHead = 8;   // type and length
inline constexpr size_t kLongItem = 12;  // a number
inline constexpr size_t kLeastItem = 8;  // a text without a byte

// Items on their way into a file. Everything may throw std::bad_alloc; std::length_error for a text beyond
// what a length can say.
class ItemWriter {
  public:
    void put_long(int32_t value);
    void put_string(std::string_view text);

    // Puts a number whose value is known only when what follows is written.
    size_t put_count();
    void set_count(size_t at, int32_t value) noexcept;

    const std::string &bytes() const noexcept { return bytes_; }

  private:
    std::string bytes_;
};

// One item, in the bytes that it was read from.
struct Item {
    int32_t type;
    int32_t value;  // of a number
    std::string_view
        text;     // of a text, without its zero, which follows it unless the text has no byte at all
    size_t size;  // of the item in bytes
};

enum class ItemState {
    kWhole,
    kGoesOn,  // its bytes are not all there: item.size bytes are needed
    kBroken
};

// Reads the item that `bytes` begin with. left: how many bytes the block still has, of which `bytes` are the
// first. problem: gets what is wrong with a broken one, a constant text.
ItemState read_item(std::string_view bytes, size_t left, Item *item, const char **problem) noexcept;

// Items of a whole block. What is wrong shows once, in problem(): from there on numbers are 0 and texts empty.
class ItemReader {
  public:
    explicit ItemReader(std::string_view bytes) noexcept : bytes_(bytes) {}

    int32_t take_long() noexcept;

    // A text, which ends with a zero and is good as long as the bytes are.
    const char *take_string() noexcept;

    // A number of things of at least `least` bytes each; 0 when there cannot be as many. Without a size any that is not
    // below zero will do: things are then taken until there are no more.
    int32_t take_count(size_t least = 0) noexcept;

    // To be asked behind the last item: whether all was well, and nothing follows.
    bool is_at_end() noexcept;

    // Null while all is well.
    const char *problem() const noexcept { return problem_; }
    // Where the item lies that was asked for last, in bytes from the block's beginning.
    size_t offset() const noexcept { return item_; }

  private:
    bool take(int32_t type, Item *item) noexcept;

    std::string_view bytes_;
    size_t at_ = 0;
    size_t item_ = 0;
    const char *problem_ = nullptr;
};

}  // namespace morv
