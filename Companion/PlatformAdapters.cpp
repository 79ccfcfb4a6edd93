#include "Companion/PlatformAdapters.h"

#include <QDBusConnectionInterface>

#include "Adapters/Linux/Desktop/DBusNotificationCenter.h"
#include "Adapters/Linux/Desktop/PortalFileOpener.h"
#include "Adapters/Linux/Desktop/PrivateBusConnection.h"
#include "Adapters/Linux/Desktop/SessionBusAddress.h"
#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Files/RuntimeFolder.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Files/XdgGroupContainer.h"
#include "Adapters/Linux/Secrets/MakeSecretStore.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperReadRequest.h"

namespace pellora::platform_adapters {

namespace {

constexpr char kSettingsFolder[] = "app.pellora.messages.companion";
constexpr char kLastReadKey[] = "messages.lastReadAt";
constexpr char kHelperName[] = "app.pellora.Messages";  // the helper owns it on the bus while it runs

}  // namespace

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

std::optional<Instant> lastReadAt() {
  const auto file = IniUserDefaults::standardFile();
  return file ? IniUserDefaults(*file).date(kLastReadKey) : std::nullopt;
}

std::shared_ptr<void> lock(const std::filesystem::path& file, std::chrono::milliseconds patience) {
  auto held = FileLock::onFile(file, patience);
  return held ? std::make_shared<FileLock>(std::move(*held)) : nullptr;
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
  return PortalFileOpener::open(file);
}

std::unique_ptr<ChatCompletionsLanguageModel> languageModel() {
  return ChatCompletionsLanguageModel::fromEnvironment();
}

}  // namespace pellora::platform_adapters
