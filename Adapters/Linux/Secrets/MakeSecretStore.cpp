#include "Adapters/Linux/Secrets/MakeSecretStore.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Secrets/KeyFileSecretStore.h"
#include "Adapters/Linux/Secrets/SecretServiceStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

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

constexpr char kFileChoice[] = "file";

std::optional<std::filesystem::path> choiceFile() {
  const auto data = XdgFolders::data();
  if (!data) return std::nullopt;
  return *data / ExchangeKeychain::attributes().service / "secret-store";
}

}  // namespace

namespace KeptSecretStore {

bool isFile() {
  const auto path = choiceFile();
  const auto text = path ? AtomicFile::read(*path) : std::nullopt;
  return text && text->starts_with(kFileChoice);
}

void useFile() {
  const auto path = choiceFile();
  if (!path) throw FileError::noSuchFile();
  AtomicFile::write(*path, std::string(kFileChoice) + "\n");
}

void useKeyring() {
  const auto path = choiceFile();
  if (path && ::unlink(path->c_str()) != 0 && errno != ENOENT && errno != ENOTDIR)
    throw FileError("remove", *path, errno);
}

std::unique_ptr<SecretStore> file() {
  return std::make_unique<KeyFileSecretStore>(XdgFolders::data());
}

std::unique_ptr<SecretStore> keyring() {
  return std::make_unique<SecretServiceStore>();
}

}  // namespace KeptSecretStore

std::unique_ptr<SecretStore> makeSecretStore() {
  const char* value = std::getenv("PELLORA_SECRET_STORE");
  const std::string choice = value == nullptr ? "" : value;
  if (choice == "file" || (choice.empty() && KeptSecretStore::isFile())) return KeptSecretStore::file();
  if (choice.empty() || choice == "secret-service") return KeptSecretStore::keyring();
  return std::make_unique<UnavailableSecretStore>(
      "PELLORA_SECRET_STORE must be \"secret-service\" or \"file\", or not set.");
}

}  // namespace pellora
