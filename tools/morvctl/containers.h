// The library's containers, freed at the end of a scope.
#pragma once

#include <morvsdk/hash.h>
#include <morvsdk/list.h>

#include <algorithm>
#include <string>
#include <vector>

#include "morvctl/failure.h"
#include "morvctl/output.h"

namespace morvctl {

// For std::unique_ptr of a record.
template <class Record, void (*release)(Record *)>
struct Release {
    void operator()(Record *record) const { release(record); }
};

class Hash {
  public:
    Hash() : hash_(PshMLIBSzHashAlloc(1024)) {
        if (!hash_) fail_library("go on");
    }
    ~Hash() { MLIBSzHashFree(hash_); }
    Hash(const Hash &) = delete;
    Hash &operator=(const Hash &) = delete;

    MLIBSZHASH *get() const { return hash_; }
    MLIBSZHASH **address() { return &hash_; }
    void set(const std::string &key, const std::string &value) {
        if (MLIBSzHashSetValue(&hash_, key.c_str(), value.c_str()) < 0) fail_library("go on");
    }
    // Sorted by key.
    Pairs pairs() const {
        Pairs found;
        for (int i = 0; i < hash_->nBucket; ++i) {
            if (hash_->bucket[i].pszKey)
                found.emplace_back(hash_->bucket[i].pszKey, hash_->bucket[i].pszValue);
        }
        std::sort(found.begin(), found.end());
        return found;
    }

  private:
    MLIBSZHASH *hash_;
};

class List {
  public:
    List() : List(PslMLIBSzListAlloc(512)) {}
    explicit List(MLIBSZLIST *list) : list_(list) {
        if (!list_) fail_library("go on");
    }
    ~List() { MLIBSzListFree(list_); }
    List(const List &) = delete;
    List &operator=(const List &) = delete;

    MLIBSZLIST *get() const { return list_; }
    MLIBSZLIST **address() { return &list_; }
    void push(const std::string &item) {
        if (MLIBSzListPush(&list_, item.c_str()) < 0) fail_library("go on");
    }
    std::vector<std::string> items() const {
        std::vector<std::string> found;
        found.reserve(size_t(list_->nItem));
        for (int i = 0; i < list_->nItem; ++i)
            found.emplace_back(SzMLIBSzListGet(list_, i));
        return found;
    }

  private:
    MLIBSZLIST *list_;
};

}  // namespace morvctl
