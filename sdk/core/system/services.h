// The appliance's network services: the scripts in "/usr/morv/etc/rc.d".
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace morv {

inline constexpr uint32_t kAllServices = ~uint32_t{0};

struct ServiceScript {
    std::string path;  // below the system root
    size_t file;       // where the name of its file begins in it
    std::string name;
    uint32_t service;  // MORV_SERVICE_...
    bool is_on;
};

// The scripts as they were at one moment, by name. Every one is called, whether others failed or not, and what fails
// is logged. One that cannot be called for lack of memory is tried again for some seconds: a service that
// was stopped must not stay so for that.
class Services {
  public:
    // Those of a mask of MORV_SERVICE_...; what is switched off is left out, unless asked for: it is neither
    // stopped nor started.
    // Answers 0, ERR_UNKNOWN (the folder cannot be listed) or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
    enum Which { kOn, kAlsoOff };
    int load(uint32_t services = kAllServices, Which which = kOn);

    // The last by name first, and the first by name first. Answer 0, ERR_SYS_UNKNOWN (a script failed) or
    // ERR_OUT_OF_MEMORY.
    int stop() const noexcept;
    int start() const noexcept;

    auto begin() const noexcept { return scripts_.begin(); }
    auto end() const noexcept { return scripts_.end(); }

  private:
    std::vector<ServiceScript> scripts_;
};

// The time for which all services are stopped: from begin() to end(), or to the end of the object.
class ServicePause {
  public:
    ServicePause() noexcept = default;
    ServicePause(const ServicePause &) = delete;
    ServicePause &operator=(const ServicePause &) = delete;
    ~ServicePause() { end(); }

    // Stops those that can be stopped; nothing when it answers a code of Services::load.
    int begin() noexcept;

    // Starts the same ones, if they were stopped. Answers 0, or ERR_SYS_UNKNOWN when not all are started.
    int end() noexcept;

  private:
    Services services_;
    bool is_on_ = false;
};

}  // namespace morv
