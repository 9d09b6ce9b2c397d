#include <morvsdk/file.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/text/lines.h"
#include "core/text/list_guard.h"
#include "core/text/trim.h"
#include "file/pair_lines.h"

using namespace morv;

// Stores the pairs of `text`; with a list of wanted keys just these, each once.
static int store_keys(FileText &file, MLIBSZLIST *wanted, const char *separators,
                      MLIBSZHASH **hash) noexcept {
    for (std::string_view line : Lines(file.view())) {
        if (is_comment(line)) continue;
        line = up_to_nul(line);
        const size_t cut = line.find_first_of(separators);
        if (cut == 0 || cut == line.npos) continue;
        const char *const value = make_c_text(file, trim(line.substr(cut + 1)));
        const char *const key = make_c_text(file, trim(line.substr(0, cut)));
        if (!*key) continue;
        if (wanted) {
            const int index = wanted->fMode == SZLIST_MODE_CASESORT ? MLIBSzListCaseFind(wanted, key)
                                                                    : MLIBSzListFind(wanted, key);
            if (index < 0 || strcmp(SzMLIBSzListGet(wanted, index), key) != 0) continue;
            SzMLIBSzListRemove(wanted, index);
        }
        if (MLIBSzHashSetValue(hash, key, value) < 0) return ERR_OUT_OF_MEMORY;
        if (wanted && wanted->nItem == 0) break;
    }
    return 0;
}

extern "C" int MLIBFileGetKeys(const char *path, const MLIBSZLIST *wanted, MLIBSZHASH **hash,
                               const char *separators) noexcept {
    // Callers look at the hash, not at the result: every failure answers 1.
    if (!path || !hash || !*hash || !separators) return MORV_FAIL(ERR_BAD_PARAMETERS, 1);
    ListPtr open_keys(PslMLIBSzListAlloc(512));
    if (!open_keys) return MORV_FAIL(ERR_OUT_OF_MEMORY, 1);
    FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, 1);

    const bool some = wanted && wanted->nItem > 0;
    if (some) {
        MLIBSZLIST *list = open_keys.release();
        const bool copied = PslMLIBSzListOr(&list, wanted, SZLIST_OP_INPLACE) != nullptr;
        open_keys.reset(list);
        if (!copied) {
            MORV_LOG(LOG_ERR, "PslMLIBSzListOr() failed!! morverr=[0x%04X]", unsigned(MLIBErrGet()));
            return 1;
        }
    }
    if (int code = store_keys(file, some ? open_keys.get() : nullptr, separators, hash))
        return MORV_FAIL(code, 1);
    return MLIBSzHashGetLength(*hash);
}
