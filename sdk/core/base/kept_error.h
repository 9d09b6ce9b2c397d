// The error state as it was, for work whose failure is none of the caller's call.
#pragma once

#include <morvsdk/error.h>

namespace morv {

class KeptError {
  public:
    KeptError() noexcept : code_(MLIBErrGet()), line_(MORVErrorGetLine()), file_(MORVErrorGetFile()) {}
    void restore() const noexcept { MLIBErrSetEx(code_, file_, line_); }

  private:
    int code_;
    int line_;
    const char *file_;
};

}  // namespace morv
