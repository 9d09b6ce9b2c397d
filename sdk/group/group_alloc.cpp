#include <morvsdk/group.h>

extern "C" int MORVGroupAlloc(MORVGROUP **ppGroup, const char *name, uint32_t gid,
                              const char *members) noexcept {
    return MORVGroupAlloc2(ppGroup, name, nullptr, gid, members);
}
