// The platform's protected store for one small secret, named by three attributes. Calls are synchronous and
// never prompt the user: a locked store says so. The store itself decides who came first when two processes add.
#pragma once

#include <string>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora {

struct SecretAttributes {
  std::string service;
  std::string account;
  std::string accessGroup;

  bool operator==(const SecretAttributes&) const = default;
};

struct SecretLookup {
  enum class Outcome { found, absent, locked, unavailable };

  Outcome outcome = Outcome::absent;
  SecretBytes data;    // only when found
  std::string reason;  // one sentence for a person when locked or unavailable, else empty
};

struct SecretAddition {
  enum class Outcome { added, duplicate, locked, failed };

  Outcome outcome = Outcome::failed;
  std::string reason;  // one sentence for a person when locked or failed, else empty
};

class SecretStore {
 public:
  virtual ~SecretStore() = default;

  virtual SecretLookup find(const SecretAttributes& attributes) = 0;

  // Adds the secret unless one with these attributes is there already (then `duplicate`, whoever added it).
  virtual SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) = 0;
};

}  // namespace pellora
