// Setting an error, which saves the stack, below 32 frames.
#include <execinfo.h>
#include <morvsdk/error.h>

#include "bench.h"

namespace bench {

namespace {

constexpr int kFrames = 32;
constexpr int kRoom = 64;  // as many as the library keeps

// Calls `work` with `deeper` more frames on the stack.
template <class Work>
[[gnu::noinline]] int below(int deeper, const Work &work) {
    const int result = deeper > 0 ? below(deeper - 1, work) : work();
    benchmark::DoNotOptimize(deeper);  // something is left to do, so that the frame stays
    return result;
}

// Found once for checking and once for measuring, which have other callers.
template <class See>
[[gnu::noinline]] int missing_frames() {
    void *frames[kRoom];
    static const int here = backtrace(frames, kRoom);
    return kFrames - here;
}

const Area error([] {
    compare("set_error", "done")
        .side("ours",
              [](auto see) {
                  const int code = below(missing_frames<decltype(see)>(), [] {
                      MLIBErrSetEx(ERR_KEY_NOT_FOUND, "error_bench", 1);
                      return MLIBErrGet();
                  });
                  see(code == ERR_KEY_NOT_FOUND ? "done" : "no error is set");
              })
        .side("floor", [](auto see) {
            const int depth = below(missing_frames<decltype(see)>(), [] {
                void *frames[kRoom];
                return backtrace(frames, kRoom);
            });
            see(depth >= kFrames - 1 && depth <= kFrames + 1 ? "done" : "another depth");
        });
});

}  // namespace

}  // namespace bench
