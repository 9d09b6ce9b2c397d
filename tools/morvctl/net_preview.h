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

    // The kernel here stays as it is, and the library goes by that; what it would make of a new address is
    // said by these. Setting it loses the routes of the interface; a gateway that can be reached only then
    // becomes the default route.
    void lose_routes(const std::string &interface) const;
    void settle_route(const std::string &gateway);

    // The commands that were run, in their order.
    std::vector<std::string> commands() const;

    // The files, and the commands.
    void show(const Session &session, Json &document) const;

  private:
    const PrivateRoot root_;
    std::vector<std::string> further_commands_;
};

}  // namespace morvctl
