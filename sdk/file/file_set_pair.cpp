#include <fcntl.h>
#include <morvsdk/file.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_text.h"
#include "core/file/replacement_file.h"
#include "core/text/hash_text.h"

using namespace morv;

// The text is made before the file is emptied: a bad format must not cost the old content.
static int set_pair(const char *path, const MLIBSZHASH *hash, const char *format) {
    std::string content;
    if (int code = append_hash(content, nullptr, hash, format)) return code;
    UniqueFd fd(open(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
    if (!fd) return ERR_OPEN_FAILED;
    if (int code = check_regular(fd.get())) return code;
    const bool written = ftruncate(fd.get(), 0) == 0 && write_all(fd.get(), content);
    const bool synced = fsync(fd.get()) == 0;
    return close(fd.release()) == 0 && written && synced ? 0 : ERR_WRITE_FAILED;
}

extern "C" int ErrMLIBFileSetPair(const char *path, const MLIBSZHASH *hash, const char *format) noexcept {
    if (!path || !hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (int code = no_throw([&] { return set_pair(path, hash, format); })) return MORV_FAIL(code, -1);
    return 0;
}
