// What the 1.85 interface of Berkeley DB cannot do, through its native one. The two headers cannot be
// included together, so this one names neither.
#pragma once

#include <stdint.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

// Makes an empty btree at `path`, of this mode less the umask, or empties the file that is there. Answers 0
// or an errno.
int create_btree(const char *path, bool duplicates, int mode) noexcept;

// Keeps a handle's messages off the caller's standard error. `internal` is the field of that name of a 1.85
// handle.
void silence_btree(void *internal) noexcept;

// Whether an open store may hold several records with one key.
bool btree_has_duplicates(void *internal) noexcept;

// All records of an open store in their order, fetched many at a time: one by one, each would cost a search
// for the place where the last one was.
class BatchWalk {
  public:
    explicit BatchWalk(void *internal) noexcept : internal_(internal) {}
    ~BatchWalk();
    BatchWalk(const BatchWalk &) = delete;
    BatchWalk &operator=(const BatchWalk &) = delete;

    // Answers 0 and a record, which is good until the next call; kEnd behind the last one; or an errno.
    static constexpr int kEnd = -1;
    int next(std::string_view *key, std::string_view *value) noexcept;

  private:
    int fetch() noexcept;

    void *internal_;
    void *cursor_ = nullptr;
    MallocPtr<char> batch_;
    uint32_t room_ = 64 * 1024;
    void *at_ = nullptr;  // where the batch is read next; null: at its end
};

// Puts records into an open store, many at a time.
class BatchPut {
  public:
    explicit BatchPut(void *internal) noexcept : internal_(internal) {}
    BatchPut(const BatchPut &) = delete;
    BatchPut &operator=(const BatchPut &) = delete;

    // Both answer 0 or an errno; the records are in the store when finish() has answered 0.
    int put(std::string_view key, std::string_view value) noexcept;
    int finish() noexcept;

  private:
    void *internal_;
    MallocPtr<char> batch_;
    void *at_ = nullptr;  // where the next record goes; null: no batch is begun
};

}  // namespace morv
