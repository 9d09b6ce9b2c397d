// A private temporary folder, gone at the end. Signals that would end the program wait until then.
#pragma once

#include <string>

#include "morvctl/signals.h"

namespace morvctl {

class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    std::string path(const char *name) const { return folder_ + "/" + name; }

    // Writes a file, and answers its path.
    std::string write(const char *name, const std::string &content) const;

  private:
    HeldSignals held_;
    std::string folder_;
};

}  // namespace morvctl
