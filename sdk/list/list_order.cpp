#include "list/list_order.h"

#include <algorithm>
#include <numeric>

namespace morv {

namespace {

// An item with the 8 bytes of its key that decide most comparisons. The key is the text, or its upper-casing,
// made once.
struct SortRecord {
    uint64_t prefix;
    const char *rest;  // the key behind the prefix
    char *item;
};

// Above every prefix of valid UTF-8.
constexpr uint64_t invalid_prefix = UINT64_MAX;

bool operator<(const SortRecord &a, const SortRecord &b) noexcept {
    if (a.prefix != b.prefix) return a.prefix < b.prefix;
    return strcmp(a.rest, b.rest) < 0;
}

// Fills in the prefix of the key that `rest` points to.
void cut_prefix(SortRecord &record) noexcept {
    const char *at = record.rest;
    uint64_t prefix = 0;
    for (int i = 0; i < 8; ++i) {
        prefix = prefix << 8 | static_cast<unsigned char>(*at);
        if (*at) ++at;
    }
    record.prefix = prefix;
    record.rest = at;
}

// Cuts off what all keys have in common ("user" in "user0001"), so that the prefixes differ.
void cut_prefixes(SortRecord *records, int count) noexcept {
    const char *const first = records[0].rest;
    size_t common = strlen(first);
    for (int i = 1; i < count && common > 0; ++i) {
        const char *const key = records[i].rest;
        size_t same = 0;
        while (same < common && key[same] == first[same])
            ++same;
        common = same;
    }
    for (int i = 0; i < count; ++i) {
        records[i].rest += common;
        cut_prefix(records[i]);
    }
}

// Makes the records of a byte sort in a block of their own; null when there is no memory.
SortRecord *make_byte_records(const MLIBSZLIST *list) noexcept {
    auto *const records =
        static_cast<SortRecord *>(calloc(static_cast<size_t>(list->nItem), sizeof(SortRecord)));
    if (!records) return nullptr;
    for (int i = 0; i < list->nItem; ++i)
        records[i].rest = records[i].item = list->pszItem[i];
    cut_prefixes(records, list->nItem);
    return records;
}

// The same for the case-insensitive sort, with the upper-cased keys behind the records.
SortRecord *make_case_records(const MLIBSZLIST *list) noexcept {
    const size_t count = static_cast<size_t>(list->nItem);
    uint64_t size = count * uint64_t{sizeof(SortRecord)};
    for (size_t i = 0; i < count; ++i) {
        const int64_t length = upper_length(list->pszItem[i]);
        if (length >= 0) size += static_cast<uint64_t>(length) + 1;
    }
    if (size > SIZE_MAX) return nullptr;
    auto *const records = static_cast<SortRecord *>(malloc(static_cast<size_t>(size)));
    if (!records) return nullptr;

    char *keys = reinterpret_cast<char *>(records + count);
    int valid = 0;
    size_t invalid = count;
    for (size_t i = 0; i < count; ++i) {
        char *const item = list->pszItem[i];
        if (utf8_valid(item)) {
            records[valid++] = {0, keys, item};
            keys = upper_write(item, keys) + 1;
        } else {
            records[--invalid] = {invalid_prefix, item, item};
        }
    }
    if (valid > 0) cut_prefixes(records, valid);
    return records;
}

// Sorts by the prefixes, a byte at a time from the last to the first; a byte that all have in common is
// passed over.
void sort_by_prefix(SortRecord *records, SortRecord *spare, size_t count) noexcept {
    uint32_t places[8][256] = {};
    for (size_t i = 0; i < count; ++i) {
        for (int byte = 0; byte < 8; ++byte)
            ++places[byte][records[i].prefix >> 8 * byte & 0xFF];
    }
    SortRecord *from = records;
    SortRecord *to = spare;
    for (int byte = 0; byte < 8; ++byte) {
        uint32_t *const place = places[byte];
        const auto value = [byte](const SortRecord &record) { return record.prefix >> 8 * byte & 0xFF; };
        if (place[value(from[0])] == count) continue;
        std::exclusive_scan(place, place + 256, place, 0u);
        for (size_t i = 0; i < count; ++i)
            to[place[value(from[i])]++] = from[i];
        std::swap(from, to);
    }
    if (from != records) memcpy(records, from, count * sizeof(SortRecord));
}

void sort_records(SortRecord *records, size_t count) noexcept {
    constexpr size_t few = 256;  // counting bytes is not worth its while
    const MallocPtr<SortRecord> spare(
        count < few ? nullptr : static_cast<SortRecord *>(malloc(count * sizeof(SortRecord))));
    if (!spare) {
        std::sort(records, records + count);
        return;
    }
    sort_by_prefix(records, spare.get(), count);
    for (size_t begin = 0, end; begin < count; begin = end) {
        for (end = begin + 1; end < count && records[end].prefix == records[begin].prefix;)
            ++end;
        if (end - begin > 1) std::sort(records + begin, records + end);
    }
}

template <class Order>
void sort_items(MLIBSZLIST *list, SortRecord *(*make_records)(const MLIBSZLIST *)) noexcept {
    char **const begin = list->pszItem;
    char **const end = begin + list->nItem;
    const auto less = [](const char *a, const char *b) { return Order::compare_all(a, b) < 0; };
    if (std::is_sorted(begin, end, less)) return;

    const MallocPtr<SortRecord> records(make_records(list));
    if (!records) {
        std::sort(begin, end, less);
        return;
    }
    sort_records(records.get(), static_cast<size_t>(list->nItem));
    for (int i = 0; i < list->nItem; ++i)
        begin[i] = records.get()[i].item;
}

}  // namespace

void list_sort(MLIBSZLIST *list, ListOrder order) noexcept {
    if (order == ListOrder::bytes) sort_items<ByBytes>(list, make_byte_records);
    if (order == ListOrder::caseless) sort_items<ByCase>(list, make_case_records);
}

void list_arrange(MLIBSZLIST *list, int mode) noexcept {
    ListOrder order = ListOrder::none;
    if (mode & SZLIST_MODE_SORT) {
        order = ListOrder::bytes;
    } else if (mode & SZLIST_MODE_CASESORT) {
        order = ListOrder::caseless;
    }
    if (list->fMode == SZLIST_MODE_NONE && order != ListOrder::none) {
        list_clean(list);
        list_sort(list, order);
    }
    list->fMode = static_cast<uint32_t>(mode);
}

}  // namespace morv
