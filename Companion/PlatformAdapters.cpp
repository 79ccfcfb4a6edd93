#include "Companion/PlatformAdapters.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QDBusConnectionInterface>
#include <cstdint>
#include <stdexcept>
#include <system_error>

#include "Adapters/Linux/Desktop/DBusSignals.h"
#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "Adapters/Linux/Desktop/FileOpening.h"
#include "Adapters/Linux/Desktop/XdgAutostartLoginItem.h"
#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Model/PeerOwner.h"
#include "Adapters/Linux/Process/Keeper.h"
#include "Adapters/Linux/Process/ProcessConfinement.h"
#include "Adapters/Linux/Secrets/MakeSecretStore.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora::platform_adapters {

namespace {

// Absent unless something will be opened.
std::unique_ptr<Keeper>& opener() {
  static std::unique_ptr<Keeper> keeper;
  return keeper;
}

constexpr char kSettingsFolder[] = "app.pellora.messages.companion";
constexpr char kLastReadKey[] = "messages.lastReadAt";
constexpr char kHelperName[] = "app.pellora.Messages";  // the helper owns it on the bus while it runs

// Where Ollama, llama.cpp, its older versions and LocalAI, LM Studio and vLLM listen when nothing else is said.
constexpr std::uint16_t kUsualModelPorts[] = {11434, 9931, 8080, 1234, 8000};

}  // namespace

void confineProcess([[maybe_unused]] bool mayAskModel) {
#ifndef PELLORA_UNCONFINED
  ProcessConfinement::applyToCompanion(mayAskModel);
#endif
}

void prepareToOpen(const std::filesystem::path& file) {
  opener() = Keeper::start({[file] { return XdgOpen::start(file); }}, [] {}, [] {});
}

std::unique_ptr<SecretStore> secretStore() {
  return makeSecretStore();
}

std::optional<std::filesystem::path> sharedFolder() {
  return HelperExchange::folderURL(XdgGroupContainer());
}

std::optional<std::filesystem::path> runtimeFolder() {
  return RuntimeFolder::own();
}

std::optional<std::filesystem::path> settingsFolder() {
  const auto config = XdgFolders::config();
  return config ? std::optional(*config / kSettingsFolder) : std::nullopt;
}

void removeLeftovers() {
  std::vector<std::optional<std::filesystem::path>> folders = {sharedFolder(), runtimeFolder(), settingsFolder()};
  if (const auto model = ModelSettings::file()) folders.push_back(model->parent_path());
  if (const auto data = XdgFolders::data()) folders.push_back(*data / ExchangeKeychain::attributes().service);
  if (const auto config = XdgFolders::config()) folders.push_back(*config / "autostart");
  if (const auto shared = sharedFolder())
    for (const char* name : {"Helper", HelperExchange::kLatelyFolder}) folders.push_back(*shared / name);
  for (const auto& folder : folders)
    if (folder) AtomicFile::removeLeftovers(*folder);
}

std::optional<Instant> lastReadAt() {
  const auto file = IniUserDefaults::standardFile();
  return file ? IniUserDefaults(*file).date(kLastReadKey) : std::nullopt;
}

std::shared_ptr<void> lock(const std::filesystem::path& file, std::chrono::milliseconds patience,
                           std::error_code& error) {
  auto held = FileLock::onFile(file, patience, error);
  return held ? std::make_shared<FileLock>(std::move(*held)) : nullptr;
}

HelperPresence helperPresence() {
  if (InstanceLock::isHeld(sharedFolder(), InstanceLock::Kind::helper)) return HelperPresence::running;
  if (const auto address = SessionBusAddress::find()) {
    PrivateBusConnection connection(*address);
    if (connection.isConnected() && connection.bus().interface() != nullptr &&
        connection.bus().interface()->isServiceRegistered(QLatin1String(kHelperName)))
      return HelperPresence::running;
  }
  const bool isRead = InstanceLock::isHeld(sharedFolder(), InstanceLock::Kind::read);
  return isRead ? HelperPresence::onlyReads : HelperPresence::notRunning;
}

std::string trayObstacle() {
  const QByteArray desktop = qgetenv("XDG_CURRENT_DESKTOP");
  const auto address = SessionBusAddress::find();
  if (desktop.isEmpty() || !address) return {};
  PrivateBusConnection connection(*address);
  if (!connection.isConnected() || connection.bus().interface() == nullptr) return {};
  if (connection.bus().interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher"))) return {};
  if (desktop.contains("GNOME"))
    return "GNOME shows no tray without an extension (gnome-shell-extension-appindicator); the helper shows its window "
           "instead";
  return "this desktop has no tray; the helper shows its window instead";
}

void useKeyFile() {
  const auto file = KeptSecretStore::file();
  const auto keyring = KeptSecretStore::keyring();
  const SecretLookup held = file->find(ExchangeKeychain::attributes());
  if (held.outcome == SecretLookup::Outcome::unavailable) throw std::runtime_error(held.reason);
  if (held.outcome == SecretLookup::Outcome::absent) {
    const SecretLookup there = keyring->find(ExchangeKeychain::attributes());
    if (there.outcome == SecretLookup::Outcome::locked)
      throw std::runtime_error("The keyring is locked and may hold the key; unlock it first.");
    if (there.outcome == SecretLookup::Outcome::found &&
        file->add(ExchangeKeychain::attributes(), ExchangeKeychain::kLabel, there.data).outcome ==
            SecretAddition::Outcome::failed)
      throw std::runtime_error("The key cannot be written into the key file.");
  }
  KeptSecretStore::useFile();
}

void useKeyring() {
  KeptSecretStore::useKeyring();
}

namespace {

// The helper is installed in the companion's folder.
std::filesystem::path helperProgram() {
  const std::filesystem::path own = QCoreApplication::applicationFilePath().toStdString();
  const std::filesystem::path beside = own.parent_path() / "pellora-for-messages";
  std::error_code error;
  if (std::filesystem::exists(beside, error)) return beside;
  return own.parent_path().parent_path() / "Pellora_for_Messages" / "pellora-for-messages";
}

}  // namespace

bool opensAtLogin() {
  return XdgAutostartLoginItem(helperProgram()).isEnabled();
}

bool openAtLogin() {
  XdgAutostartLoginItem item(helperProgram());
  item.enable();
  return item.isEnabled();
}

HelperRequest askHelperToRead() {
  const auto address = SessionBusAddress::find();
  if (!address) return HelperRequest::noBus;
  PrivateBusConnection connection(*address);
  if (!connection.isConnected() || connection.bus().interface() == nullptr) return HelperRequest::busSilent;
  const bool isRunning = connection.bus().interface()->isServiceRegistered(QLatin1String(kHelperName));
  if (!isRunning) return HelperRequest::notRunning;
  DBusNotificationCenter center;
  return HelperReadRequest::post(center) ? HelperRequest::asked : HelperRequest::notTaken;
}

std::optional<std::string> openFile(const std::filesystem::path& file) {
  return PortalFileOpener::open(file, [] { return opener() && opener()->ask(0); });
}

std::unique_ptr<ChatCompletionsLanguageModel> languageModel() {
  return ChatCompletionsLanguageModel::configured();
}

std::vector<FoundModelServer> modelServersAtUsualPlaces() {
  std::vector<FoundModelServer> found;
  for (const std::uint16_t port : kUsualModelPorts) {
    const std::optional<uid_t> owner = PeerOwner::listenerAt({"127.0.0.1", port});
    if (!owner) continue;
    FoundModelServer server{"http://127.0.0.1:" + std::to_string(port), PeerOwner::accountName(*owner), {}};
    ChatCompletionsLanguageModel model(ModelEndpoint::parse(server.url));
    server.report = QCoro::waitFor(model.report());
    found.push_back(std::move(server));
  }
  return found;
}

}  // namespace pellora::platform_adapters
