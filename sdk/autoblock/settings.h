// What the configuration says of the blocking.
#pragma once

#include <morvsdk/autoblock.h>
#include <stddef.h>
#include <stdint.h>

#include <string_view>

namespace morv {

inline constexpr char kSettingsFile[] = "/etc/morvinfo.conf";
inline constexpr char kAttemptsKey[] = "autoblock_attempts";
inline constexpr char kAttemptMinKey[] = "autoblock_attempt_min";
inline constexpr char kExpiredDayKey[] = "autoblock_expriedday";  // as all installed systems spell it
inline constexpr char kNotifyKey[] = "autoblock_notify";
inline constexpr char kAllowKey[] = "autoblock_allow";

// The settings, and the addresses that are never blocked. They are read once, and again when the file is
// another one or was changed, so that a service can ask at every connection. The lock of the configuration
// is not taken: its files are replaced as a whole, and nobody is to wait at a login for who works on them.
class BlockSettings {
  public:
    // Answers 0, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY; a missing file is one without settings.
    int load() noexcept;

    const MORV_AUTOBLOCK_CONF &conf() const noexcept;
    bool is_enabled() const noexcept { return conf().attempts != 0 || conf().attemptMin != 0; }
    int64_t period() const noexcept { return int64_t{conf().attemptMin} * 60; }  // seconds
    int64_t lifetime() const noexcept {
        return int64_t{conf().expiredDay} * 86400;
    }  // of a block, in seconds
    bool allows(uint32_t address) const noexcept;
};

// As atoi reads a number, but one beyond the range of the field is the end of the range.
int32_t setting_number(std::string_view value) noexcept;

// The settings from `value_of`, which answers the value of a key, "" for none.
template <class F>
MORV_AUTOBLOCK_CONF make_conf(F value_of) noexcept {
    return {setting_number(value_of(kAttemptsKey)), setting_number(value_of(kAttemptMinKey)),
            setting_number(value_of(kExpiredDayKey)),
            value_of(kNotifyKey) == std::string_view("yes") ? 1 : 0};
}

}  // namespace morv
