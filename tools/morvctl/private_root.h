// A private system root with copies of files, in which a change can be made to see what it does.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "morvctl/output.h"
#include "morvctl/scratch_folder.h"
#include "morvctl/target.h"

namespace morvctl {

class PrivateRoot {
  public:
    // From here on the library works in it. `changed` are the files that the change may change, `read`
    // those that it goes by besides; what of them exists is copied.
    PrivateRoot(const Session &session, std::vector<std::string> changed,
                const std::vector<std::string> &read);
    ~PrivateRoot();
    PrivateRoot(const PrivateRoot &) = delete;
    PrivateRoot &operator=(const PrivateRoot &) = delete;

    const std::string &path() const { return root_; }

    // A file beside the root.
    std::string beside(const char *name) const { return scratch_.path(name); }

    // Puts a file in the place of a copy, if there is one.
    void write(const std::string &file, const std::string &content, mode_t mode = 0600) const;

    // What has become of the files: as text on standard output, or in the document. `mask` takes from both
    // texts of a file what is not to be shown.
    using Mask = std::function<void(const std::string &file, std::string &before, std::string &after)>;
    void show(const Session &session, Json &document, const Mask &mask = {}) const;

  private:
    void copy_files(const std::vector<std::string> &read);

    const Session &session_;
    std::vector<std::string> changed_;
    ScratchFolder scratch_;
    std::string root_;
    int log_mask_ = 0;
    std::map<std::string, std::string> before_;  // files, and what they held
};

}  // namespace morvctl
