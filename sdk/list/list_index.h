// A hash index over texts, so that a set operation on unsorted lists looks at each item once.
#pragma once

#include <stdint.h>

#include "core/base/guard.h"

namespace morv {

// A set of texts, equal by `Order`, each with a number of the user's. The texts are not copied.
template <class Order>
class ListIndex {
  public:
    struct Entry {
        const char *text;  // null: free
        uint32_t hash;
        int32_t number;
    };

    // Makes room for `texts` texts. False when there is no memory.
    bool make(int64_t texts) noexcept {
        uint64_t capacity = 16;
        while (capacity < static_cast<uint64_t>(texts) * 2)
            capacity *= 2;
        if (capacity > SIZE_MAX / sizeof(Entry)) return false;
        entries_.reset(static_cast<Entry *>(calloc(static_cast<size_t>(capacity), sizeof(Entry))));
        mask_ = static_cast<size_t>(capacity - 1);
        return entries_ != nullptr;
    }

    // The entry of an equal text; null when there is none.
    Entry *find(const char *text) noexcept {
        Entry *const entry = lookup(text);
        return entry && entry->text ? entry : nullptr;
    }

    // The entry of an equal text, or a new one with the number 0; null for a text that equals nothing.
    Entry *add(const char *text) noexcept {
        Entry *const entry = lookup(text);
        if (entry && !entry->text) entry->text = text;
        return entry;
    }

  private:
    // The entry of an equal text, or the free one where it belongs, with its hash filled in.
    Entry *lookup(const char *text) noexcept {
        uint64_t whole;
        if (!Order::hash(text, &whole)) return nullptr;
        const uint32_t hash = static_cast<uint32_t>(whole ^ whole >> 32);
        for (size_t at = hash & mask_;; at = (at + 1) & mask_) {
            Entry &entry = entries_.get()[at];
            if (!entry.text) {
                entry.hash = hash;
                return &entry;
            }
            if (entry.hash == hash && Order::equal(entry.text, text)) return &entry;
        }
    }

    MallocPtr<Entry> entries_;
    size_t mask_ = 0;
};

}  // namespace morv
