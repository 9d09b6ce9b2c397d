// Shares for the tests of folders as long as the library has no share database.
#include <morvsdk/share.h>
#include <string.h>

#include "support/scratch.h"

namespace {
std::vector<std::string> stand_in;
}

void set_stand_in(const std::vector<std::string> &paths) {
    stand_in = paths;
}

extern "C" int MORVShareEnum(MLIBSZLIST **ppList, int) noexcept {
    for (const std::string &path : stand_in)
        MLIBSzListPush(ppList, path.substr(path.rfind('/') + 1).c_str());
    return int(stand_in.size());
}

extern "C" int MORVSharePathGet(const char *name, char *buffer, int) noexcept {
    for (const std::string &path : stand_in) {
        if (path.substr(path.rfind('/') + 1) == name) strcpy(buffer, path.c_str());
    }
    return 0;
}
