// What the commands of `morvctl net` that change something are made of.
#pragma once

#include <morvsdk/file.h>

#include <functional>
#include <string>
#include <vector>

#include "morvctl/net_preview.h"
#include "morvctl/net_text.h"
#include "morvctl/network.h"

namespace morvctl {

// The host name is kept beside the gateway.
inline constexpr uint32_t kHostLocks = MORV_LOCK_HOST | MORV_LOCK_NW;

// What a change did, or would do.
struct Report {
    Json document = Json::object();
    std::vector<std::string> lines;  // what holds now
    std::vector<std::string> notes;  // what else there is to know
};

struct Change {
    uint32_t locks = 0;
    std::string interface;  // whose files change, or ""
    bool with_host_name = false;
};

// Makes a change under its locks; with --dry-run in a private copy, of which the differences are printed.
// `apply` makes it (the preview is null without --dry-run), and `tell` says what holds then. Answers the
// exit code.
int change_net(const Session &session, const Change &change,
               const std::function<void(Report &report, NetPreview *preview)> &apply,
               const std::function<void(Report &report)> &tell);

// The normal form of a text; one that is not valid is refused.
std::string need(Judge judge, const std::string &text, Report &report);

// Whether it is the address of a host in one of them.
bool can_reach(const std::vector<Network> &networks, uint32_t gateway);

// Refuses a gateway that could not be one.
void check_gateway(const std::string &address, const std::vector<Network> &networks, bool force);

// Change the settings, and add to the report what they are now. "" for none.
void store_gateway(const Session &session, const std::string &address);
void tell_gateway(Report &report);
void store_name_server(const Session &session, const std::string &address, Report &report);
void tell_name_server(Report &report);

}  // namespace morvctl
