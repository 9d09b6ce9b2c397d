#include <morvsdk/group.h>
#include <stdlib.h>

extern "C" void MORVGroupFree(MORVGROUP *group) noexcept {
    free(group);
}
