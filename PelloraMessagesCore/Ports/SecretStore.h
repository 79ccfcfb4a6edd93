// The platform's protected store for one small secret, named by three attributes. A port because every platform has
// its own. Calls never prompt the user: a locked store says so. The store itself decides who came first when two
// processes add.
#pragma once

#include <functional>
#include <memory>
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

// An armed observation; destroying it ends it. Main thread.
class SecretStoreObserver {
 public:
  virtual ~SecretStoreObserver() = default;
};

class SecretStore {
 public:
  virtual ~SecretStore() = default;

  // Any thread, one call at a time. May wait for the platform's service, some seconds at most.
  virtual SecretLookup find(const SecretAttributes& attributes) = 0;

  // Adds the secret unless one with these attributes is there already (then `duplicate`, no matter who added it). As
  // find.
  virtual SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) = 0;

  // Calls `changed` on the main thread whenever find may have another answer than before: the store was unlocked or
  // appeared, or the secret did. It may be called more often than that. Main thread; does not block. Null when the
  // platform can't tell at the moment.
  virtual std::unique_ptr<SecretStoreObserver> observe(const SecretAttributes& attributes,
                                                       std::function<void()> changed) = 0;

  // For the end of the process: a find or add that waits in another thread gives up, and later ones fail at once.
  // Any thread; does not block.
  virtual void close() = 0;
};

}  // namespace pellora
