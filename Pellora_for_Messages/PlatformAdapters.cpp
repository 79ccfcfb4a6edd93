#include "Pellora_for_Messages/PlatformAdapters.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QEventLoop>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "Adapters/Linux/Desktop/DBusSignals.h"
#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "Adapters/Linux/Desktop/DisplayServer.h"
#include "Adapters/Linux/Desktop/FileOpening.h"
#include "Adapters/Linux/Desktop/HelperConfinement.h"
#include "Adapters/Linux/Desktop/SessionAppInstance.h"
#include "Adapters/Linux/Desktop/StatusNotifierHost.h"
#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Files/InotifyFileEvents.h"
#include "Adapters/Linux/Model/ChatCompletionsLanguageModel.h"
#include "Adapters/Linux/Model/ModelSettings.h"
#include "Adapters/Linux/Process/EventLoop.h"
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
constexpr int kEndingMilliseconds = 100;  // for reads that are given up
// For a read of another process that is about to end.
constexpr std::chrono::seconds kTurnPatience(2);
constexpr std::chrono::milliseconds kTurnInterval(50);

// The port of "http://127.0.0.1:8080"; 80 without one.
[[maybe_unused]] std::optional<std::uint16_t> portOf(const ModelEndpoint& endpoint) {
  if (!endpoint.isUsable() || !endpoint.socketPath.empty() || endpoint.url.empty()) return std::nullopt;
  std::uint16_t port = 80;
  const std::size_t colon = endpoint.url.rfind(':');
  const char* end = endpoint.url.data() + endpoint.url.size();
  std::from_chars(endpoint.url.data() + colon + 1, end, port);
  return port;
}

// More than the helper ever has open. With fewer, libraries beneath it end the process without a word.
constexpr rlim_t kOpenFiles = 64;

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
  explicit Adapters(std::shared_ptr<HelperConfinement> given) : confinement(std::move(given)) {}

  EventLoopScheduler scheduler;
  IniUserDefaults defaults{defaultsFile()};
  std::unique_ptr<SecretStore> secrets = makeSecretStore();
  std::shared_ptr<HelperConfinement> confinement;
  const GroupContainer& container = confinement->container();
  FolderReadLock readLock{HelperExchange::folderURL(container)};
  DBusNotificationCenter notifications;
  InotifyFileEvents fileEvents;
  LogindSleepNotice sleepNotice;
  SessionAppInstance appInstance{HelperExchange::folderURL(container)};
  StatusNotifierHost trayHost;
  FileManagerPrivacySettings privacySettings;
  PortalAppearance appearance;
  SignalQuitRequests quitRequests;
  std::optional<InstanceLock> readingLock;
  DesktopWindowActivation windowActivation;
  std::unique_ptr<ChatCompletionsLanguageModel> languageModel = ChatCompletionsLanguageModel::configured();
};

PlatformAdapters::PlatformAdapters(std::shared_ptr<HelperConfinement> confinement)
    : _adapters(std::make_unique<Adapters>(std::move(confinement))) {}

PlatformAdapters::~PlatformAdapters() = default;

HelperPlatform PlatformAdapters::platform() {
  return {_adapters->scheduler,
          _adapters->defaults,
          *_adapters->secrets,
          _adapters->container,
          _adapters->notifications,
          _adapters->fileEvents,
          _adapters->confinement->loginItem(),
          *_adapters->languageModel,
          _adapters->readLock,
          ChatDatabase::defaultURL(),
          LocalCalendar::current,
          PlatformAdapters::version()};
}

HelperDesktop PlatformAdapters::desktop() {
  return {_adapters->trayHost,    _adapters->privacySettings,  _adapters->appearance,  _adapters->quitRequests,
          _adapters->sleepNotice, _adapters->windowActivation, ResidentMemory::release};
}

AppInstance& PlatformAdapters::appInstance() {
  return _adapters->appInstance;
}

void PlatformAdapters::tellProtections() const {
  _adapters->confinement->tellProtections();
}

void PlatformAdapters::refreshLoginItem() {
  _adapters->confinement->refreshLoginItem();
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

std::shared_ptr<HelperConfinement> PlatformAdapters::confineProcess([[maybe_unused]] Purpose purpose) {
  umask(S_IRWXG | S_IRWXO);
#ifdef PELLORA_UNCONFINED
  return std::make_shared<HelperConfinement>();
#else
  HelperConfinement::Needs needs;
  needs.purpose = purpose == Purpose::window ? HelperConfinement::Purpose::window : HelperConfinement::Purpose::oneRead;
  needs.store = ChatDatabase::defaultURL();
  needs.modelPort = portOf(ModelAddress::current().endpoint);
  if (const auto settings = ModelSettings::file()) needs.readable.push_back(settings->parent_path());
  if (const auto kept = ModelSettings::load(); kept && !kept->keyFile.empty())
    needs.readable.emplace_back(kept->keyFile);
#ifdef PELLORA_TRANSLATIONS
  needs.readable.emplace_back(PELLORA_TRANSLATIONS);
#endif
  return std::make_shared<HelperConfinement>(needs);
#endif
}

std::string PlatformAdapters::refusal(const HelperConfinement& confinement) {
  return confinement.refusal();
}

std::string PlatformAdapters::shortage() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= kOpenFiles) return {};
  const std::string allowed = std::to_string(limit.rlim_cur);
  limit.rlim_cur = std::min(kOpenFiles, limit.rlim_max);
  if (limit.rlim_cur == kOpenFiles && setrlimit(RLIMIT_NOFILE, &limit) == 0) return {};
  return "The helper may have only " + allowed + " files open at once and needs " + std::to_string(kOpenFiles) +
         "; raise the limit (\"ulimit -n\").";
}

void PlatformAdapters::removeLeftovers() const {
  for (const std::filesystem::path& folder : HelperConfinement::ownFolders()) AtomicFile::removeLeftovers(folder);
  if (const auto shared = HelperExchange::folderURL(_adapters->container)) {
    AtomicFile::removeLeftovers(*shared / "Helper");
    AtomicFile::removeLeftovers(*shared / HelperExchange::kLatelyFolder);
  }
}

bool PlatformAdapters::becomeOnlyReader() {
  const auto folder = HelperExchange::folderURL(_adapters->container);
  const auto deadline = std::chrono::steady_clock::now() + kTurnPatience;
  while (true) {
    auto lock = InstanceLock::take(folder, InstanceLock::Kind::read);
    if (lock && !InstanceLock::isHeld(folder, InstanceLock::Kind::helper) && !isHelperOnBus() &&
        _adapters->readLock.tryTake()) {
      _adapters->readingLock.emplace(std::move(*lock));
      return true;
    }
    if (std::chrono::steady_clock::now() >= deadline) return false;
    lock.reset();
    std::this_thread::sleep_for(kTurnInterval);
  }
}

bool PlatformAdapters::close() {
  _adapters->languageModel->close();
  _adapters->secrets->close();
  const bool isFinished = _adapters->scheduler.finish(kEndingPatience);
  // A read that waited for one of them is told so, finds its owner gone and gives back what it held.
  QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, kEndingMilliseconds);
  return isFinished;
}

}  // namespace pellora
