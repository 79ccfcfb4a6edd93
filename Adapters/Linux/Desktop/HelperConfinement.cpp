#include "Adapters/Linux/Desktop/HelperConfinement.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "Adapters/Linux/Desktop/XdgAutostartLoginItem.h"
#include "Adapters/Linux/Files/IniUserDefaults.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Process/ProcessConfinement.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

namespace {

namespace fs = std::filesystem;

enum Duty : std::size_t {
  kIsLoginItemEnabled,
  kEnableLoginItem,
  kDisableLoginItem,
  kRefreshLoginItem,
  kPutFoldersInPlace
};

std::string_view fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string_view(value) : std::string_view();
}

// A display or a bus on another machine is reached over the network.
bool needsInternetSockets() {
  const std::string_view display = fromEnvironment("DISPLAY");
  const bool isDisplayLocal = display.empty() || display.starts_with(":") || display.starts_with("unix") ||
                              display.starts_with("/") || !fromEnvironment("WAYLAND_DISPLAY").empty();
  return !isDisplayLocal || fromEnvironment("DBUS_SESSION_BUS_ADDRESS").starts_with("tcp:");
}

// Where a file or folder of ours is written when its user has put a link in its place.
void followLink(const fs::path& path, std::vector<fs::path>& folders) {
  std::error_code error;
  if (!fs::is_symlink(path, error)) return;
  const fs::path target = fs::weakly_canonical(path, error);
  if (error) return;
  folders.push_back(fs::is_directory(target, error) ? target : target.parent_path());
}

fs::path thisProgram() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error);
}

// The folder of the login item's entry, and the one where the entry lies when it is a link.
std::vector<fs::path> autostartFolders() {
  std::vector<fs::path> folders;
  if (const auto config = XdgFolders::config()) {
    folders.push_back(*config / "autostart");
    followLink(*config / "autostart/app.pellora.Messages.desktop", folders);
  }
  return folders;
}

// Made when missing, so that what is put into them later can be read.
std::vector<fs::path> readableFolders() {
  std::vector<fs::path> folders;
  if (const auto data = XdgFolders::data()) {
    // It is there when the choice of the key file was kept.
    const fs::path ofKey = *data / ExchangeKeychain::attributes().service / "";
    std::error_code error;
    if (fromEnvironment("PELLORA_SECRET_STORE") == "file" || fs::exists(ofKey, error)) folders.push_back(ofKey);
  }
  if (const auto config = XdgFolders::config()) folders.push_back(*config / "app.pellora.messages.model" / "");
  return folders;
}

}  // namespace

// The keeper reads and writes the entry: its folder may be made, or made again, at any time.
class HelperConfinement::KeptLoginItem : public LoginItem {
 public:
  explicit KeptLoginItem(Keeper* keeper) : _keeper(keeper) {}

  bool isEnabled() const override {
    return _keeper == nullptr ? _entry.isEnabled() : _keeper->ask(kIsLoginItemEnabled);
  }
  void enable() override {
    if (_keeper == nullptr)
      _entry.enable();
    else
      _keeper->ask(kEnableLoginItem);
  }
  void disable() override {
    if (_keeper == nullptr)
      _entry.disable();
    else
      _keeper->ask(kDisableLoginItem);
  }
  void observe(std::function<void()> changed) override { _entry.observe(std::move(changed)); }
  void refresh() {
    if (_keeper == nullptr)
      _entry.refresh();
    else
      _keeper->ask(kRefreshLoginItem);
  }

 private:
  Keeper* _keeper;
  XdgAutostartLoginItem _entry{thisProgram()};
};

// Looks after the own folders whenever it is asked where the shared one is, which every read does first of all.
class HelperConfinement::KeptContainer : public GroupContainer {
 public:
  KeptContainer(Keeper* keeper, const std::vector<StandInFolders>& standIns) : _keeper(keeper), _standIns(standIns) {}

  std::optional<fs::path> folder(const std::string& groupIdentifier) const override {
    const auto isInPlace = [](const StandInFolders& standIn) { return standIn.isInPlace(); };
    if (_keeper != nullptr && !std::ranges::all_of(_standIns, isInPlace)) _keeper->ask(kPutFoldersInPlace);
    return _container.folder(groupIdentifier);
  }

 private:
  Keeper* _keeper;
  const std::vector<StandInFolders>& _standIns;
  XdgGroupContainer _container;
};

std::vector<fs::path> HelperConfinement::ownFolders() {
  std::vector<fs::path> folders;
  if (const auto shared = HelperExchange::folderURL(XdgGroupContainer())) {
    folders.push_back(*shared);
    followLink(*shared / "Helper", folders);
    followLink(*shared / HelperExchange::kLatelyFolder, folders);
  }
  if (const auto defaults = IniUserDefaults::standardFile()) {
    folders.push_back(defaults->parent_path());
    followLink(*defaults, folders);
  }
  if (const auto runtime = RuntimeFolder::own()) folders.push_back(*runtime);
  return folders;
}

std::unique_ptr<Keeper> HelperConfinement::makeKeeper() {
  if (const auto shared = HelperExchange::folderURL(XdgGroupContainer())) _standIns.emplace_back(*shared);
  if (const auto defaults = IniUserDefaults::standardFile()) _standIns.emplace_back(defaults->parent_path());
  const auto entry = std::make_shared<XdgAutostartLoginItem>(thisProgram());
  const auto done = [](auto act) {
    return [act] {
      act();
      return true;
    };
  };
  return Keeper::start(
      {[entry] { return entry->isEnabled(); }, done([entry] { entry->enable(); }), done([entry] { entry->disable(); }),
       done([entry] { entry->refresh(); }),
       [this] {
         bool isInPlace = true;
         for (StandInFolders& each : _standIns) isInPlace = each.putInPlace() && isInPlace;
         return isInPlace;
       }},
      [] {
        for (const fs::path& folder : autostartFolders()) AtomicFile::removeLeftovers(folder);
        ProcessConfinement::applyToKeeper();
      },
      [this] {
        for (StandInFolders& each : _standIns) each.remove();
      });
}

HelperConfinement::HelperConfinement()
    : _loginItem(std::make_unique<KeptLoginItem>(nullptr)),
      _container(std::make_unique<KeptContainer>(nullptr, _standIns)) {}

HelperConfinement::HelperConfinement(const Needs& needs) {
  ConfinementPlan plan;
  plan.writableFolders = ownFolders();
  // Without a session bus, a second launch activates the first instance through a socket there.
  plan.socketFolder = RuntimeFolder::own().value_or(fs::path());
  plan.readable = readableFolders();
  plan.readable.insert(plan.readable.end(), needs.readable.begin(), needs.readable.end());
  plan.store = needs.store;
  plan.modelPort = needs.modelPort;
  plan.needsInternetSockets = needsInternetSockets();
  if (needs.purpose == Purpose::window) _keeper = makeKeeper();
  for (const StandInFolders& each : _standIns)
    plan.writableFolders.insert(plan.writableFolders.end(), each.paths().begin(), each.paths().end());
  _report = ProcessConfinement::apply(plan);
  if (!refusal().empty()) tellProtections();
  _loginItem = std::make_unique<KeptLoginItem>(_keeper.get());
  _container = std::make_unique<KeptContainer>(_keeper.get(), _standIns);
}

HelperConfinement::~HelperConfinement() = default;

LoginItem& HelperConfinement::loginItem() {
  return *_loginItem;
}

const GroupContainer& HelperConfinement::container() const {
  return *_container;
}

void HelperConfinement::tellProtections() const {
  if (!_report.protections.empty()) _report.write(RuntimeFolder::own());
}

void HelperConfinement::refreshLoginItem() {
  _loginItem->refresh();
}

}  // namespace pellora
