// A record store, opened for reading as a private copy: the library makes a store that root opens writable
// for all, and a store that another program changes meanwhile must not lead us astray.
#pragma once

#include <morvsdk/bdb.h>

#include "morvctl/scratch_folder.h"
#include "morvctl/target.h"

namespace morvctl {

class StoreCopy {
  public:
    explicit StoreCopy(const Target &target);
    ~StoreCopy();
    StoreCopy(const StoreCopy &) = delete;
    StoreCopy &operator=(const StoreCopy &) = delete;

    MORVBDB *get() const { return db_; }

  private:
    ScratchFolder scratch_;
    MORVBDB *db_ = nullptr;
};

}  // namespace morvctl
