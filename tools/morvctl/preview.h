// A private copy of the account files, in which a change can be made to see what it does.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "morvctl/private_root.h"

namespace morvctl {

class Preview {
  public:
    // From here on the library works in the copy. `folders`, those of the shares and the homes of the users
    // are made in it, empty, as far as they exist. `changed` and `read`: files beside those of the accounts.
    Preview(const Session &session, const std::vector<std::string> &folders,
            const std::vector<std::string> &changed = {}, const std::vector<std::string> &read = {});

    // What has become of the files and folders: as text on standard output, or in the document. Passwords and
    // their hashes are not shown, just that they are others.
    void show(const Session &session, Json &document) const;

  private:
    void mirror_folder(const std::string &folder);
    bool has_folder(const std::string &folder) const;

    const Session &session_;
    const PrivateRoot root_;
    std::map<std::string, bool> folders_;  // folders, and whether they were there
};

}  // namespace morvctl
