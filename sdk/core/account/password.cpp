#include "core/account/password.h"

#include <crypt.h>
#include <morvsdk/errcodes.h>
#include <string.h>
#include <time.h>

#include <string_view>

namespace morv {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMethod = "$1$";
constexpr size_t kMostSalt = 8;  // characters that crypt looks at
constexpr std::string_view kAlphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz./";

// "$1$" and the characters of a salt.
struct Setting {
    char text[kMethod.size() + kMostSalt + 1] = {};

    explicit Setting(std::string_view salt) noexcept {
        memcpy(text, kMethod.data(), kMethod.size());
        memcpy(text + kMethod.size(), salt.data(), salt.size());
    }
};

Setting fresh_setting() noexcept {
    const int64_t now = time(nullptr);
    const char salt[] = {salt_character(now), salt_character(now + 10)};
    return Setting({salt, sizeof salt});
}

Setting setting_for(std::string_view old_hash) noexcept {
    std::string_view salt = old_hash;
    if (old_hash.starts_with(kMethod) && old_hash.size() > kMethod.size() + 12) {
        salt.remove_prefix(kMethod.size());
        salt = salt.substr(0, salt.find('$')).substr(0, kMostSalt);
    }
    const bool is_salt =
        !salt.empty() && salt.size() <= kMostSalt && salt.find_first_not_of(kAlphabet) == salt.npos;
    return is_salt ? Setting(salt) : fresh_setting();
}

}  // namespace

char salt_character(int64_t number) noexcept {
    const int64_t rest = number % 64;
    return kAlphabet[static_cast<size_t>(rest < 0 ? -rest : rest)];
}

int hash_password(const char *clear, const char *old_hash, PasswordHash *hash) noexcept {
    if (strnlen(clear, CRYPT_MAX_PASSPHRASE_SIZE) == CRYPT_MAX_PASSPHRASE_SIZE) return ERR_BAD_PARAMETERS;
    const Setting setting = setting_for(old_hash ? old_hash : ""sv);
    crypt_data data = {};  // it holds a copy of the password in the end
    const char *const made = crypt_rn(clear, setting.text, &data, sizeof data);
    const bool is_made =
        made && std::string_view(made).starts_with(kMethod) && strlen(made) < sizeof hash->text;
    if (is_made) memcpy(hash->text, made, strlen(made) + 1);
    explicit_bzero(&data, sizeof data);
    return is_made ? 0 : ERR_SYS_UNKNOWN;
}

}  // namespace morv
