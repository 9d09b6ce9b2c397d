#include <ctype.h>
#include <limits.h>
#include <morvsdk/bdb.h>
#include <morvsdk/list.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/guard.h"

namespace {

// "#" and the section in upper case; null when there is no memory.
char *section_key(const char *section, size_t length) noexcept {
    char *const key = static_cast<char *>(malloc(length + 2));
    if (!key) return nullptr;
    key[0] = '#';
    for (size_t i = 0; i <= length; ++i)
        key[i + 1] = static_cast<char>(toupper(static_cast<unsigned char>(section[i])));
    return key;
}

}  // namespace

extern "C" int MORVListDBSet(MORVBDB *pHandle, const char *szSection, const MLIBSZLIST *pList) noexcept {
    if (!pHandle || !szSection || !pList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const size_t length = strlen(szSection);
    if (length > INT_MAX - 2) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    const morv::MallocPtr<char> key(section_key(szSection, length));
    if (!key) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);

    const int size = static_cast<int>(pList->nSize);
    const morv::MallocPtr<char> image(MORVListDBPack(pList, size));
    if (!image) {
        syslog(LOG_ERR, "%s (%d): errno=%d, MORVListDBPack() failed, section[%s]\n", MORV_STEM, __LINE__,
               MLIBErrGet(), szSection);
        return -1;
    }
    if (MORVBDbSet(pHandle, key.get(), static_cast<int>(length + 2), image.get(), size) < 0) {
        syslog(LOG_ERR, "%s (%d): errno=%d, MORVBDbSet() failed, section[%s]\n", MORV_STEM, __LINE__,
               MLIBErrGet(), szSection);
        return -1;
    }
    return 0;
}
