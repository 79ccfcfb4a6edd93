// The key bag of an encrypted phone backup: per protection class a key, wrapped with a key made from the password.
// It is a list of fields, each
//
//     tag     4 bytes of ASCII
//     length  4 bytes, most significant first
//     value   length bytes; numbers are 4 bytes, most significant first
//
// First come those of the bag (SALT and ITER, in newer bags DPSL and DPIC too), then the classes, each from its UUID
// on: CLAS its number, WRAP how it is wrapped (bit 1: with the password), WPKY the wrapped key. The password becomes a
// key by PBKDF2 with SHA-1 over SALT and ITER rounds, in newer bags after PBKDF2 with SHA-256 over DPSL and DPIC; keys
// are wrapped as in RFC 3394. Everything secret is wiped when it goes. Tested by Tests/Companion/PhoneBackupTests.cpp.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora {

// The key that was wrapped with `key` (RFC 3394); absent when it was another one or the lengths do not fit.
std::optional<SecretBytes> unwrappedKey(const SecretBytes& key, std::span<const std::uint8_t> wrapped);

class BackupKeyBag {
 public:
  // Total: absent for anything that is not a key bag or asks for more rounds than a minute's work.
  static std::optional<BackupKeyBag> parse(std::span<const std::uint8_t> bytes);

  // Takes seconds: ten million rounds are usual. False when it is not the password.
  bool unlock(const SecretBytes& password);

  // Unwraps a key that was wrapped with the key of this class, once unlocked.
  std::optional<SecretBytes> unwrap(std::uint32_t protectionClass, std::span<const std::uint8_t> wrapped) const;

 private:
  struct Class {
    std::uint32_t wrapping = 0;
    std::vector<std::uint8_t> wrappedKey;
  };

  std::vector<std::uint8_t> _salt;
  std::uint32_t _rounds = 0;
  std::vector<std::uint8_t> _firstSalt;
  std::uint32_t _firstRounds = 0;  // 0: an older bag without them
  std::map<std::uint32_t, Class> _classes;
  std::map<std::uint32_t, SecretBytes> _keys;
};

}  // namespace pellora
