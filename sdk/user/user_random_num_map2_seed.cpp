#include <morvsdk/internal/user.h>

#include "core/account/password.h"

extern "C" int MORVUserRandomNumMap2Seed(int number) noexcept {
    return morv::salt_character(number);
}
