#include <morvsdk/user.h>
#include <stdlib.h>
#include <string.h>

extern "C" void MORVUserFree(MORVUSER *user) noexcept {
    if (!user) return;
    // The whole block: the caller may have let szPassword point elsewhere, also to a text that is a
    // constant.
    explicit_bzero(user, static_cast<size_t>(user->allocated));
    free(user);
}
