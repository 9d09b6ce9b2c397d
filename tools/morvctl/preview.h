// A private system root with copies of the account files, in which a change can be made to see what it does.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "morvctl/output.h"
#include "morvctl/scratch_folder.h"
#include "morvctl/target.h"

namespace morvctl {

class Preview {
  public:
    // From here on the library works in the private root. `folders`, those of the shares and the homes of
    // the users are made in it, empty, as far as they exist.
    Preview(const Session &session, const std::vector<std::string> &folders);
    ~Preview();
    Preview(const Preview &) = delete;
    Preview &operator=(const Preview &) = delete;

    // What has become of the files and folders: as text on standard output, or in the document. Passwords and
    // their hashes are not shown, just that they are others.
    void show(const Session &session, Json &document) const;

  private:
    void copy_files();
    void mirror_folder(const std::string &folder);
    bool has_folder(const std::string &folder) const;

    const Session &session_;
    ScratchFolder scratch_;
    std::string root_;
    std::map<std::string, std::string> before_;  // files, and what they held
    std::map<std::string, bool> folders_;        // folders, and whether they were there
};

}  // namespace morvctl
