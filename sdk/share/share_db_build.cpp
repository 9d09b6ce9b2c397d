#include <errno.h>

#include <string>

#include "core/account/share_mirror.h"
#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"

using namespace morv;

// What the stream still holds.
static int read_rest(FILE *stream, std::string &text) {
    char piece[8192];
    for (size_t size; (size = fread(piece, 1, sizeof piece, stream)) > 0;)
        text.append(piece, size);
    if (!ferror(stream)) return 0;
    MORV_LOG(LOG_ERR, "Fail to read the end of the file. errno=%d/%m", errno);
    return ERR_READ_FAILED;
}

extern "C" int MORVShareDBBuild(FILE *configuration, MORVSHAREDB *db) noexcept {
    if (!configuration || !db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        std::string text;
        struct stat st;
        if (fstat(fileno(configuration), &st) != 0) return int{ERR_STAT_FAILED};
        int failed = read_rest(configuration, text);
        if (failed == 0) failed = store_sections(*mirror_of(db), text);
        if (failed) return failed;
        mirror_of(db)->source[0] = state_of(st);
        return mark_stores(*mirror_of(db));
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
