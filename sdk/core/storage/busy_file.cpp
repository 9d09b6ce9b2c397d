#include "core/storage/busy_file.h"

#include <morvsdk/errcodes.h>

#include <memory>

#include "core/storage/status_file.h"
#include "core/text/field_text.h"
#include "core/text/fields.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

static constexpr size_t kLongestLine = 128;
static constexpr size_t kLongest = size_t{64} * 1024;

int read_busy_file(VOLUME_PROGRESS &progress) {
    progress = {};
    const std::unique_ptr<FileText> text(new FileText);
    if (const int code = load_status("/tmp/webman/modules/volume", Writers::kAny, kLongest, *text))
        return code == ERR_FILE_NOT_FOUND || code == ERR_FORMAT_ERROR ? 0 : code;
    for (const std::string_view line : Lines(text->view())) {
        if (line.size() > kLongestLine) continue;
        const KeyLine pair = parse_key_line(line);
        const std::string_view value = trim(pair.value);
        if (pair.key == "pid") {
            const int64_t number = leading_number(value);
            progress.pid = number > 0 && number <= INT32_MAX ? static_cast<int32_t>(number) : 0;
        } else if (pair.key == "action") {
            copy_text(progress.szAction, value);
        } else if (pair.key == "step") {
            copy_text(progress.szStep, value);
        } else if (pair.key == "vol_path") {
            copy_text(progress.szPath, value);
        }
    }
    return 0;
}

}  // namespace morv
