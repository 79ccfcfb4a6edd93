#include "Pellora_for_Messages/PlatformAdapters.h"

#include <sys/stat.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>

#include "Adapters/Linux/Desktop/DBusNotificationCenter.h"
#include "Adapters/Linux/Desktop/DesktopWindowActivation.h"
#include "Adapters/Linux/Desktop/DisplayServer.h"
#include "Adapters/Linux/Desktop/FileManagerPrivacySettings.h"
#include "Adapters/Linux/Desktop/LogindSleepNotice.h"
#include "Adapters/Linux/Desktop/PortalAppearance.h"
#include "Adapters/Linux/Desktop/SessionAppInstance.h"
#include "Adapters/Linux/Desktop/SessionBusAddress.h"
#include "Adapters/Linux/Desktop/StatusNotifierHost.h"
#include "Adapters/Linux/Desktop/XdgAutostartLoginItem.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Files/InotifyFileEvents.h"
#include "Adapters/Linux/Files/RuntimeFolder.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Files/XdgGroupContainer.h"
#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "Adapters/Linux/Process/EventLoopScheduler.h"
#include "Adapters/Linux/Process/InstanceLock.h"
#include "Adapters/Linux/Process/ProcessConfinement.h"
#include "Adapters/Linux/Process/ResidentMemory.h"
#include "Adapters/Linux/Process/SignalQuitRequests.h"
#include "Adapters/Linux/Secrets/MakeSecretStore.h"
#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

namespace {

// For a query or a file that is being written when the program is to end.
constexpr std::chrono::milliseconds kEndingPatience(500);

std::string_view fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string_view(value) : std::string_view();
}

// The port of "http://127.0.0.1:8080"; 80 without one.
[[maybe_unused]] std::optional<std::uint16_t> portOf(const ModelEndpoint& endpoint) {
  if (!endpoint.isUsable() || !endpoint.socketPath.empty() || endpoint.url.empty()) return std::nullopt;
  std::uint16_t port = 80;
  const std::size_t colon = endpoint.url.rfind(':');
  const char* end = endpoint.url.data() + endpoint.url.size();
  std::from_chars(endpoint.url.data() + colon + 1, end, port);
  return port;
}

// A display or a bus on another machine is reached over the network.
[[maybe_unused]] bool needsInternetSockets() {
  const std::string_view display = fromEnvironment("DISPLAY");
  const bool isDisplayLocal = display.empty() || display.starts_with(":") || display.starts_with("unix") ||
                              display.starts_with("/") || !fromEnvironment("WAYLAND_DISPLAY").empty();
  return !isDisplayLocal || fromEnvironment("DBUS_SESSION_BUS_ADDRESS").starts_with("tcp:");
}

// Where a file or folder of ours is written when its user has put a link in its place.
void followLink(const std::filesystem::path& path, std::vector<std::filesystem::path>& folders) {
  std::error_code error;
  if (!std::filesystem::is_symlink(path, error)) return;
  const std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
  if (error) return;
  folders.push_back(std::filesystem::is_directory(target, error) ? target : target.parent_path());
}

// The folders below which this program writes.
std::vector<std::filesystem::path> ownFolders() {
  std::vector<std::filesystem::path> folders;
  if (const auto shared = HelperExchange::folderURL(XdgGroupContainer())) {
    folders.push_back(*shared);
    followLink(*shared / "Helper", folders);
    followLink(*shared / HelperExchange::kLatelyFolder, folders);
  }
  if (const auto defaults = IniUserDefaults::standardFile()) {
    folders.push_back(defaults->parent_path());
    followLink(*defaults, folders);
  }
  if (const auto config = XdgFolders::config()) {
    folders.push_back(*config / "autostart");
    followLink(*config / "autostart/app.pellora.Messages.desktop", folders);
  }
  if (const auto runtime = RuntimeFolder::own()) folders.push_back(*runtime);
  return folders;
}

std::filesystem::path defaultsFile() {
  return IniUserDefaults::standardFile().value_or("/nonexistent/defaults.ini");
}

bool isHelperOnBus() {
  if (!SessionBusAddress::find()) return false;
  const QDBusConnection bus = QDBusConnection::sessionBus();
  return bus.isConnected() && bus.interface()->isServiceRegistered(QLatin1String(SessionAppInstance::kBusName)).value();
}

}  // namespace

struct PlatformAdapters::Adapters {
  EventLoopScheduler scheduler;
  IniUserDefaults defaults{defaultsFile()};
  std::unique_ptr<SecretStore> secrets = makeSecretStore();
  XdgGroupContainer container;
  DBusNotificationCenter notifications;
  InotifyFileEvents fileEvents;
  XdgAutostartLoginItem loginItem{QCoreApplication::applicationFilePath().toStdString()};
  LogindSleepNotice sleepNotice;
  SessionAppInstance appInstance{HelperExchange::folderURL(container)};
  StatusNotifierHost trayHost;
  FileManagerPrivacySettings privacySettings;
  PortalAppearance appearance;
  SignalQuitRequests quitRequests;
  std::optional<InstanceLock> readingLock;
  DesktopWindowActivation windowActivation;
  std::unique_ptr<ChatCompletionsLanguageModel> languageModel = ChatCompletionsLanguageModel::fromEnvironment();
};

PlatformAdapters::PlatformAdapters() : _adapters(std::make_unique<Adapters>()) {}

PlatformAdapters::~PlatformAdapters() = default;

HelperPlatform PlatformAdapters::platform() {
  return {_adapters->scheduler,       _adapters->defaults,    *_adapters->secrets,        _adapters->container,
          _adapters->notifications,   _adapters->fileEvents,  _adapters->loginItem,       *_adapters->languageModel,
          ChatDatabase::defaultURL(), LocalCalendar::current, PlatformAdapters::version()};
}

HelperDesktop PlatformAdapters::desktop() {
  return {_adapters->trayHost,    _adapters->privacySettings,  _adapters->appearance,  _adapters->quitRequests,
          _adapters->sleepNotice, _adapters->windowActivation, ResidentMemory::release};
}

AppInstance& PlatformAdapters::appInstance() {
  return _adapters->appInstance;
}

void PlatformAdapters::refreshLoginItem() {
  _adapters->loginItem.refresh();
}

std::string PlatformAdapters::launchToken() {
  return DesktopWindowActivation::launchToken();
}

std::shared_ptr<void> PlatformAdapters::reachDisplay() {
  return DisplayServer::reach();
}

std::string PlatformAdapters::version() {
#ifdef PELLORA_VERSION
  return PELLORA_VERSION;
#else
  return "1.0";
#endif
}

void PlatformAdapters::confineProcess() {
  umask(S_IRWXG | S_IRWXO);
#ifndef PELLORA_UNCONFINED
  ConfinementPlan plan;
  plan.writableFolders = ownFolders();
  plan.store = ChatDatabase::defaultURL();
  plan.modelPort = portOf(ModelEndpoint::fromEnvironment());
  plan.needsInternetSockets = needsInternetSockets();
  ProcessConfinement::apply(plan).write(RuntimeFolder::own());
#endif
}

void PlatformAdapters::removeLeftovers() const {
  for (const std::filesystem::path& folder : ownFolders()) AtomicFile::removeLeftovers(folder);
  if (const auto shared = HelperExchange::folderURL(_adapters->container)) {
    AtomicFile::removeLeftovers(*shared / "Helper");
    AtomicFile::removeLeftovers(*shared / HelperExchange::kLatelyFolder);
  }
}

bool PlatformAdapters::becomeOnlyReader() {
  auto lock = InstanceLock::take(HelperExchange::folderURL(_adapters->container));
  if (!lock) return false;
  _adapters->readingLock.emplace(std::move(*lock));
  return !isHelperOnBus();
}

bool PlatformAdapters::close() {
  _adapters->languageModel->close();
  _adapters->secrets->close();
  return _adapters->scheduler.finish(kEndingPatience);
}

}  // namespace pellora
