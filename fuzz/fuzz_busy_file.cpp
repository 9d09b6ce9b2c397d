// The file that says which volume is being worked on, below a line with a volume: it is busy only when the
// file names it, and what is told of it is in the file.
#include <morvsdk/volume.h>
#include <stddef.h>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root({"/proc", "/proc/77", "/tmp", "/tmp/webman", "/tmp/webman/modules"});
    static const bool is_ready = (root.write("/proc/77/stat", "77 (mkfs) S 1\n"), true);
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string path = take_line(text);
    root.write("/tmp/webman/modules/volume", text);
    VOLUME_PROGRESS progress;
    const int busy = VolumeIsActioning(path.c_str(), &progress);
    expect(is_ready && busy == (path.empty() ? -1 : busy == 1 ? 1 : 0));
    if (busy != 1) return 0;
    expect(progress.pid == 77 && path == progress.szPath);
    for (const std::string_view part : {progress.szPath, progress.szAction, progress.szStep})
        expect(text.find(part) != text.npos);
    return 0;
}
