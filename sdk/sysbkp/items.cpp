#include "sysbkp/items.h"

#include <limits.h>
#include <morvsdk/sysbkp.h>

#include <algorithm>
#include <stdexcept>

#include "core/base/bytes.h"

namespace morv {

namespace {

constexpr int32_t kLongLength = 4;

void put_words(std::string &bytes, std::initializer_list<int32_t> words) {
    for (const int32_t word : words) {
        char raw[4];
        store_be32(raw, static_cast<uint32_t>(word));
        bytes.append(raw, sizeof raw);
    }
}

}  // namespace

void ItemWriter::put_long(int32_t value) {
    put_words(bytes_, {MORV_SYSBKP_LONG, kLongLength, value});
}

void ItemWriter::put_string(std::string_view text) {
    if (text.size() >= INT32_MAX) throw std::length_error("text");
    put_words(bytes_, {MORV_SYSBKP_STRING, static_cast<int32_t>(text.size() + 1)});
    bytes_.append(text).push_back('\0');
}

size_t ItemWriter::put_count() {
    put_long(0);
    return bytes_.size() - 4;
}

void ItemWriter::set_count(size_t at, int32_t value) noexcept {
    store_be32(&bytes_[at], static_cast<uint32_t>(value));
}

ItemState read_item(std::string_view bytes, size_t left, Item *item, const char **problem) noexcept {
    const auto broken = [&](const char *what) {
        *problem = what;
        return ItemState::kBroken;
    };
    const auto goes_on = [&](size_t size) {
        if (left < size) return broken("the block ends within an item");
        item->size = size;
        return ItemState::kGoesOn;
    };
    if (bytes.size() < kItemHead) return goes_on(kItemHead);
    item->type = static_cast<int32_t>(load_be32(bytes.data()));
    const auto length = static_cast<int32_t>(load_be32(bytes.data() + 4));
    if (item->type != MORV_SYSBKP_LONG && item->type != MORV_SYSBKP_STRING)
        return broken("an item is neither a number nor a text");
    if (length < 0 || (item->type == MORV_SYSBKP_LONG && length != kLongLength))
        return broken("an item has a length that it cannot have");
    item->size = kItemHead + static_cast<size_t>(length);
    if (bytes.size() < item->size) return goes_on(item->size);
    const std::string_view body = bytes.substr(kItemHead, static_cast<size_t>(length));
    item->text = {};
    item->value = 0;
    if (item->type == MORV_SYSBKP_LONG) {
        item->value = static_cast<int32_t>(load_be32(body.data()));
        return ItemState::kWhole;
    }
    if (body.empty()) return ItemState::kWhole;
    if (body.back() != '\0') return broken("a text does not end with a zero");
    if (body.find('\0') != body.size() - 1) return broken("a text has a zero in it");
    item->text = body.substr(0, body.size() - 1);
    return ItemState::kWhole;
}

bool ItemReader::take(int32_t type, Item *item) noexcept {
    if (problem_) return false;
    item_ = at_;
    const std::string_view rest = bytes_.substr(at_);
    if (rest.empty()) {
        problem_ = "the block ends too early";
        return false;
    }
    const char *problem = nullptr;
    if (read_item(rest, rest.size(), item, &problem) != ItemState::kWhole) {
        problem_ = problem;
        return false;
    }
    if (item->type != type) {
        problem_ = type == MORV_SYSBKP_LONG ? "there is a text in the place of a number"
                                            : "there is a number in the place of a text";
        return false;
    }
    at_ += item->size;
    return true;
}

int32_t ItemReader::take_long() noexcept {
    Item item;
    return take(MORV_SYSBKP_LONG, &item) ? item.value : 0;
}

const char *ItemReader::take_string() noexcept {
    Item item;
    return take(MORV_SYSBKP_STRING, &item) && !item.text.empty() ? item.text.data() : "";
}

int32_t ItemReader::take_count(size_t least) noexcept {
    const int32_t count = take_long();
    if (problem_) return 0;
    if (count >= 0 && static_cast<uint64_t>(count) * least <= bytes_.size() - at_) return count;
    problem_ = "a count is below zero, or of more than the block can hold";
    return 0;
}

bool ItemReader::is_at_end() noexcept {
    if (!problem_ && at_ != bytes_.size()) {
        item_ = at_;
        problem_ = "there is more behind the last item";
    }
    return !problem_;
}

}  // namespace morv
