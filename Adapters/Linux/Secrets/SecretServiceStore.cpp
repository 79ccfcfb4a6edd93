#include "Adapters/Linux/Secrets/SecretServiceStore.h"

#include <algorithm>
#include <system_error>
#include <tuple>

#include "Adapters/Linux/Desktop/DesktopBus.h"
#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/XdgFolders.h"
#include "Adapters/Linux/Secrets/SecretServiceSession.h"

namespace pellora {

namespace {

using Failure = SecretServiceSession::Failure;

constexpr std::chrono::milliseconds kCreationPatience(15000);
constexpr char kLockFile[] = "app.pellora.messages.exchange.lock";
constexpr char kNoCollectionReason[] = "There is no keyring yet that could keep the key.";

bool isInside(const std::string& item, const std::optional<std::string>& collection) {
  return collection && item.starts_with(*collection + "/");
}

// Where new secrets go; absent when there is no lasting collection.
std::optional<std::string> lastingCollection(SecretServiceSession& session) {
  const auto transient = session.collectionForAlias("session");
  auto standard = session.collectionForAlias("default");
  if (standard && standard != transient) return standard;
  for (const std::string& collection : session.collections())
    if (collection.ends_with("/login") && collection != transient) return collection;
  return std::nullopt;
}

// Paths end with a number in the common service: shorter ones come first, so that 9 comes before 10.
auto order(SecretServiceSession& session, const std::string& item) {
  return std::tuple(session.created(item), item.size(), item);
}

std::optional<std::string> firstLasting(SecretServiceSession& session, const std::vector<std::string>& items) {
  const auto transient = session.collectionForAlias("session");
  std::optional<std::tuple<std::uint64_t, std::size_t, std::string>> first;
  for (const std::string& item : items) {
    if (isInside(item, transient)) continue;
    const auto candidate = order(session, item);
    if (!first || candidate < *first) first = candidate;
  }
  if (!first) return std::nullopt;
  return std::get<2>(*first);
}

// The item that counts, absent when there is none. A collection that is locked hides what it holds.
std::optional<std::string> findItem(SecretServiceSession& session, const SecretAttributes& attributes) {
  const SecretServiceSession::Items items = session.search(attributes);
  if (auto item = firstLasting(session, items.unlocked)) return item;
  if (!items.locked.empty()) throw Failure{true, SecretServiceSession::kLockedReason};
  const auto collection = lastingCollection(session);
  if (collection && session.isLocked(*collection)) throw Failure{true, SecretServiceSession::kLockedReason};
  return std::nullopt;
}

FileLock lockOthersOut() {
  const auto folder = RuntimeFolder::path();
  if (!folder) throw Failure{false, "There is no private folder for the lock of the key."};
  std::error_code error;
  auto lock = FileLock::onFile(*folder / kLockFile, kCreationPatience, error);
  if (!lock && error != std::errc::operation_would_block)
    throw Failure{false, "The lock of the key, " + (*folder / kLockFile).string() +
                             ", cannot be taken: " + error.message() + "."};
  if (!lock) throw Failure{false, "Another process has been adding the key for too long."};
  return std::move(*lock);
}

SecretAddition::Outcome addItem(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data,
                                SecretServiceSession& session) {
  if (findItem(session, attributes)) return SecretAddition::Outcome::duplicate;
  const auto collection = lastingCollection(session);
  if (!collection) throw Failure{false, kNoCollectionReason};
  const std::string own = session.createItem(*collection, attributes, label, data);
  const auto counting = findItem(session, attributes);
  if (counting == own) return SecretAddition::Outcome::added;
  if (!counting) throw Failure{false, "The keyring didn't keep the key."};
  session.deleteItem(own);
  return SecretAddition::Outcome::duplicate;
}

// The service itself, and every collection as it is locked, unlocked or changed otherwise.
class ServiceObserver : public SecretStoreObserver {
 public:
  ServiceObserver(const std::string& address, const std::function<void()>& changed)
      : _connection(address), _receiver([changed](bool) { changed(); }) {}

  bool listen() {
    const QString service = QStringLiteral("org.freedesktop.secrets");
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    const char* slot = BusSignalReceiver::plainSlot();
    QDBusConnection& connection = _connection.bus();
    return _connection.isConnected() &&
           connection.connect(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("NameOwnerChanged"),
                              {service}, QString(), &_receiver, slot) &&
           connection.connect(service, QString(), QStringLiteral("org.freedesktop.DBus.Properties"),
                              QStringLiteral("PropertiesChanged"),
                              {QStringLiteral("org.freedesktop.Secret.Collection")}, QString(), &_receiver, slot) &&
           listenToCollections(connection, QStringLiteral("CollectionCreated")) &&
           listenToCollections(connection, QStringLiteral("CollectionChanged"));
  }

 private:
  bool listenToCollections(QDBusConnection& connection, const QString& signal) {
    return connection.connect(QStringLiteral("org.freedesktop.secrets"), QString(),
                              QStringLiteral("org.freedesktop.Secret.Service"), signal, &_receiver,
                              BusSignalReceiver::plainSlot());
  }

  PrivateBusConnection _connection;
  BusSignalReceiver _receiver;
};

}  // namespace

// Lets close() reach the call while it lasts.
class SecretServiceStore::Call {
 public:
  explicit Call(SecretServiceStore& store) : session(store._patience), _store(store) {
    const std::lock_guard lock(store._mutex);
    if (store._isClosed) session.cancel();
    store._running = &session;
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() {
    const std::lock_guard lock(_store._mutex);
    _store._running = nullptr;
  }

  SecretServiceSession session;

 private:
  SecretServiceStore& _store;
};

SecretLookup SecretServiceStore::find(const SecretAttributes& attributes) {
  try {
    Call call(*this);
    const auto item = findItem(call.session, attributes);
    // Nothing could be added either, which is worth knowing before somebody tries.
    if (!item && !lastingCollection(call.session)) throw Failure{false, kNoCollectionReason};
    if (!item) return {};
    return {SecretLookup::Outcome::found, call.session.secret(*item), {}};
  } catch (const Failure& failure) {
    const auto outcome = failure.locked ? SecretLookup::Outcome::locked : SecretLookup::Outcome::unavailable;
    return {outcome, {}, failure.reason};
  }
}

SecretAddition SecretServiceStore::add(const SecretAttributes& attributes, const std::string& label,
                                       const SecretBytes& data) {
  try {
    const FileLock lock = lockOthersOut();
    Call call(*this);
    return {addItem(attributes, label, data, call.session), {}};
  } catch (const Failure& failure) {
    const auto outcome = failure.locked ? SecretAddition::Outcome::locked : SecretAddition::Outcome::failed;
    return {outcome, failure.reason};
  }
}

std::unique_ptr<SecretStoreObserver> SecretServiceStore::observe(const SecretAttributes&,
                                                                 std::function<void()> changed) {
  const auto address = SessionBusAddress::find();
  if (!address) return nullptr;
  auto observer = std::make_unique<ServiceObserver>(*address, changed);
  if (!observer->listen()) return nullptr;
  return observer;
}

void SecretServiceStore::close() {
  const std::lock_guard lock(_mutex);
  _isClosed = true;
  if (_running != nullptr) _running->cancel();
}

}  // namespace pellora
