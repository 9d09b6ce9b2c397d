#include <limits.h>
#include <morvsdk/internal/user.h>
#include <morvsdk/string.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "core/base/fail.h"

extern "C" int MORVUserDBPack(const MORVUSER *user, char *buffer, int size) noexcept {
    if (!user || !user->szName || !buffer) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const auto text = [](const char *field) { return field ? field : ""; };
    const char *const description = text(user->szDescription);
    const char *const home = text(user->szHome);
    const char *const shell = text(user->szShell);

    char numbers[sizeof ":x:-2147483648:-2147483648:"];
    snprintf(numbers, sizeof numbers, ":x:%d:%d:", int(user->uid), int(user->gid));
    const std::string_view clear(description);
    const auto escapes =
        std::count_if(clear.begin(), clear.end(), [](char c) { return c == ':' || c == ';'; });
    const uint64_t encoded = clear.size() + uint64_t(escapes);
    const uint64_t head = strlen(user->szName) + strlen(numbers);
    const uint64_t tail = strlen(home) + strlen(shell) + sizeof "::";
    if (size < 0 || head + encoded + tail > uint64_t(size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);

    char *at = buffer + snprintf(buffer, size_t(size), "%s%s", user->szName, numbers);
    if (MLIBStrEncodeColon(description, at, int(encoded)) < 0) return -1;
    at += encoded;
    snprintf(at, size_t(buffer + size - at), ":%s:%s", home, shell);
    return int(head + encoded + tail);
}
