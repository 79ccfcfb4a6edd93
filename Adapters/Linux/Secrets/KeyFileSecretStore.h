// Secrets in plain files, for machines without a desktop's secret service and only when asked for: below a base
// folder, the service names a folder (mode 0700), the account the file (mode 0600) with nothing but the raw bytes.
// A file that others may use, a folder that others may write, and what belongs to somebody else is refused. Of two
// processes that add at once the first one's file stays; a file is complete and synced before it gets its name. The
// label and the access group are not kept: the base folder is one user's. Tested by
// Tests/Adapters/KeyFileSecretStoreTests.cpp.
#pragma once

#include <filesystem>
#include <optional>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

class KeyFileSecretStore : public SecretStore {
 public:
  // `base` is the user's data folder; absent makes the store unavailable.
  explicit KeyFileSecretStore(std::optional<std::filesystem::path> base) : _base(std::move(base)) {}

  SecretLookup find(const SecretAttributes& attributes) override;
  SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) override;
  std::unique_ptr<SecretStoreObserver> observe(const SecretAttributes& attributes,
                                               std::function<void()> changed) override;
  void close() override {}

 private:
  std::optional<std::filesystem::path> _base;
};

}  // namespace pellora
