// A private copy of the network's files, with tools that write down how they are called instead of doing
// anything.
#pragma once

#include <string>
#include <vector>

#include "morvctl/private_root.h"

namespace morvctl {

class NetPreview {
  public:
    // interface: the one that changes, or "". with_host_name: the change sets the host name again; so what
    // the kernel has goes to the files.
    NetPreview(const Session &session, const std::string &interface, bool with_host_name);

    // Setting the address loses the routes of the interface.
    void lose_routes(const std::string &interface) const;

    // The commands that were run, in their order.
    std::vector<std::string> commands() const;

    // The files, and the commands.
    void show(const Session &session, Json &document) const;

  private:
    const PrivateRoot root_;
};

}  // namespace morvctl
