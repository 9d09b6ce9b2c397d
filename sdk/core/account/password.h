// Stored hashes of passwords.
#pragma once

#include <stdint.h>

namespace morv {

// A stored hash: "$1$", a salt of at most 8 characters, "$" and 22 characters.
struct PasswordHash {
    char text[40];
};

// The character of a salt for a number: its absolute value modulo 64 in "0-9A-Za-z./".
char salt_character(int64_t number) noexcept;

// Hashes a password by MD5 crypt.
//
// old_hash: what is stored so far; null for a new account. It decides the salt:
//   an MD5 hash ("$1$" and more than 12 characters)  the same salt
//   1 to 8 characters of the salt's alphabet         these; they are a salt without a hash
//   anything else                                    a fresh salt, two characters from the time. That is an empty
//                                                    field, a lock ("*", "!", also before a hash), and the
//                                                    hash of another method
//
// Answers 0, ERR_BAD_PARAMETERS (a password longer than crypt takes, 511 bytes) or ERR_SYS_UNKNOWN (this
// machine's crypt does not have the method).
int hash_password(const char *clear, const char *old_hash, PasswordHash *hash) noexcept;

}  // namespace morv
