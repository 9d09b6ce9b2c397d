// A family's lock, taken and given back with nobody else asking for it.
#include <fcntl.h>
#include <morvsdk/file.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bench.h"

namespace bench {

namespace {

void add_lock(const Place &place) {
    mkdir((place.folder + "/tmp").c_str(), 0755);
    compare(std::string("lock_") + place.name, "0")
        .side("ours",
              [root = place.folder](auto see) {
                  use_root(root);
                  int result = ErrMLIBFileLock(MORV_LOCK_MORVINFO | MORV_LOCK_WRITE, 0);
                  result |= ErrMLIBFileUnlock(MORV_LOCK_MORVINFO);
                  see(result);
              })
        .side("floor", [path = place.folder + "/tmp/lock/lock_morvinfo"](auto see) {
            const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            int result = flock(fd, LOCK_EX | LOCK_NB);
            result |= close(fd);
            see(result);
        });
}

const Area lock([] {
    for (const Place &place : places())
        add_lock(place);
});

}  // namespace

}  // namespace bench
