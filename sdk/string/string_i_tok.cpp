#include <morvsdk/internal/string.h>
#include <string.h>

extern "C" char *MLIBIStrTok(char **cursor, const char *delimiters) noexcept {
    if (!cursor || !delimiters) return nullptr;
    char *token;
    do {
        token = strsep(cursor, delimiters);
    } while (token && !*token);
    return token;
}
