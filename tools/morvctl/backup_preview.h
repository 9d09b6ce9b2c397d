// A private copy of all that an import changes, in which it can be made to see what it does.
#pragma once

#include <string>
#include <vector>

#include "morvctl/backup.h"
#include "morvctl/preview.h"

namespace morvctl {

class BackupPreview {
  public:
    // From here on the library works in the copy. The folders of the shares here, and of those in the file, are
    // made in it, empty, as far as they exist.
    BackupPreview(const Session &session, const Backup &backup);

    // What has become of the files, without passwords and their hashes.
    void show(const Session &session, Json &document) const { preview_.show(session, document); }

  private:
    const Preview preview_;
};

}  // namespace morvctl
