#include "core/text/hash_text.h"

#include <morvsdk/errcodes.h>

#include "core/text/key_lines.h"
#include "core/text/pair_format.h"

namespace morv {

int append_hash(std::string &out, const char *section, const MLIBSZHASH *hash, const char *format) {
    if (!is_pair_format(format)) return ERR_BAD_PARAMETERS;
    // A format that cannot be used is refused for an empty hash too.
    const size_t start = out.size();
    if (int code = append_pair(out, format, "", "")) return code;
    out.resize(start);
    if (section) {
        if (!is_one_line(section)) return ERR_BAD_PARAMETERS;
        out.append("[").append(section).append("]\n");
    }
    for (int i = 0; hash && i < hash->nBucket; ++i) {
        const MLIBSZHASHBUCKET &pair = hash->bucket[i];
        if (!pair.pszKey) continue;
        if (!is_key(pair.pszKey) || !is_one_line(pair.pszValue)) return ERR_BAD_PARAMETERS;
        const size_t line = out.size();
        if (int code = append_pair(out, format, pair.pszKey, pair.pszValue)) return code;
        // It would end the section, or open another one.
        if (section && out.size() > line && out[line] == '[') return ERR_BAD_PARAMETERS;
    }
    return 0;
}

}  // namespace morv
