#include "Adapters/Linux/Secrets/MakeSecretStore.h"

#include <cstdlib>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Secrets/KeyFileSecretStore.h"
#include "Adapters/Linux/Secrets/SecretServiceStore.h"

namespace pellora {

namespace {

class UnavailableSecretStore : public SecretStore {
 public:
  explicit UnavailableSecretStore(std::string reason) : _reason(std::move(reason)) {}

  SecretLookup find(const SecretAttributes&) override { return {SecretLookup::Outcome::unavailable, {}, _reason}; }
  SecretAddition add(const SecretAttributes&, const std::string&, const SecretBytes&) override {
    return {SecretAddition::Outcome::failed, _reason};
  }
  std::unique_ptr<SecretStoreObserver> observe(const SecretAttributes&, std::function<void()>) override {
    return nullptr;
  }
  void close() override {}

 private:
  std::string _reason;
};

}  // namespace

std::unique_ptr<SecretStore> makeSecretStore() {
  const char* value = std::getenv("PELLORA_SECRET_STORE");
  const std::string choice = value == nullptr ? "" : value;
  if (choice.empty() || choice == "secret-service") return std::make_unique<SecretServiceStore>();
  if (choice == "file") return std::make_unique<KeyFileSecretStore>(XdgFolders::data());
  return std::make_unique<UnavailableSecretStore>(
      "PELLORA_SECRET_STORE must be \"secret-service\" or \"file\", or not set.");
}

}  // namespace pellora
