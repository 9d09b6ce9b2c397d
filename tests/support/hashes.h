// Hashes and lists for tests: filled from and turned into the standard containers.
#pragma once

#include <morvsdk/hash.h>
#include <morvsdk/list.h>

#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

class Hash {
  public:
    Hash() : hash_(PshMLIBSzHashAlloc(512)) {}
    Hash(std::initializer_list<std::pair<const char *, const char *>> pairs) : Hash() {
        for (const auto &[key, value] : pairs)
            MLIBSzHashSetValue(&hash_, key, value);
    }
    ~Hash() { MLIBSzHashFree(hash_); }
    Hash(const Hash &) = delete;
    Hash &operator=(const Hash &) = delete;

    MLIBSZHASH *get() const { return hash_; }
    MLIBSZHASH **address() { return &hash_; }
    std::map<std::string, std::string> pairs() const {
        std::map<std::string, std::string> found;
        for (int i = 0; i < hash_->nBucket; ++i) {
            if (hash_->bucket[i].pszKey) found[hash_->bucket[i].pszKey] = hash_->bucket[i].pszValue;
        }
        return found;
    }

  private:
    MLIBSZHASH *hash_;
};

class List {
  public:
    List() : list_(PslMLIBSzListAlloc(512)) {}
    explicit List(const std::vector<std::string> &items) : List() {
        for (const auto &item : items)
            MLIBSzListPush(&list_, item.c_str());
    }
    ~List() { MLIBSzListFree(list_); }
    List(const List &) = delete;
    List &operator=(const List &) = delete;

    MLIBSZLIST *get() const { return list_; }
    MLIBSZLIST **address() { return &list_; }
    std::vector<std::string> items() const {
        std::vector<std::string> found;
        for (int i = 0; i < list_->nItem; ++i)
            found.emplace_back(list_->pszItem[i]);
        return found;
    }

  private:
    MLIBSZLIST *list_;
};

}  // namespace testing_support
