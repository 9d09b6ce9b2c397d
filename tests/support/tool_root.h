// A scratch root with tools that write down how they were called.
#pragma once

#include <stdio.h>

#include <string>

#include "support/scratch.h"

namespace testing_support {

template <class Base = ScratchRoot>
class ToolRoot : public Base {
  public:
    // A tool adds its name and arguments to the calls, then does this.
    void tool(const std::string &name, const std::string &script = "") const {
        this->write(name, "#!/bin/sh\necho \"${0##*/} $*\" >>\"$MORV_ROOT/calls\"\n" + script + "\n", 0755);
    }

    // What the tools were called with since the last time; the root is shown as "ROOT".
    std::string calls() const {
        std::string text = this->read("calls");
        for (size_t at; (at = text.find(this->dir())) != text.npos;)
            text.replace(at, this->dir().size(), "ROOT");
        remove(this->path("calls").c_str());
        return text;
    }
};

}  // namespace testing_support
