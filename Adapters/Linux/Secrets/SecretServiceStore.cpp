#include "Adapters/Linux/Secrets/SecretServiceStore.h"

#include <algorithm>
#include <tuple>

#include "Adapters/Linux/Files/FileLock.h"
#include "Adapters/Linux/Files/RuntimeFolder.h"
#include "Adapters/Linux/Secrets/SecretServiceSession.h"

namespace pellora {

namespace {

using Failure = SecretServiceSession::Failure;

constexpr std::chrono::milliseconds kLockPatience(15000);
constexpr char kLockFile[] = "app.pellora.messages.exchange.lock";
constexpr char kLockedReason[] = "The keyring is locked.";
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
  if (!items.locked.empty()) throw Failure{true, kLockedReason};
  const auto collection = lastingCollection(session);
  if (collection && session.isLocked(*collection)) throw Failure{true, kLockedReason};
  return std::nullopt;
}

FileLock lockOthersOut() {
  const auto folder = RuntimeFolder::path();
  if (!folder) throw Failure{false, "There is no private folder for the lock of the key."};
  auto lock = FileLock::onFile(*folder / kLockFile, kLockPatience);
  if (!lock) throw Failure{false, "Another process has been adding the key for too long."};
  return std::move(*lock);
}

SecretAddition::Outcome addItem(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data,
                                std::chrono::milliseconds patience) {
  const FileLock lock = lockOthersOut();
  SecretServiceSession session(patience);
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

}  // namespace

SecretLookup SecretServiceStore::find(const SecretAttributes& attributes) {
  try {
    SecretServiceSession session(_patience);
    const auto item = findItem(session, attributes);
    if (!item) return {};
    return {SecretLookup::Outcome::found, session.secret(*item), {}};
  } catch (const Failure& failure) {
    const auto outcome = failure.locked ? SecretLookup::Outcome::locked : SecretLookup::Outcome::unavailable;
    return {outcome, {}, failure.reason};
  }
}

SecretAddition SecretServiceStore::add(const SecretAttributes& attributes, const std::string& label,
                                       const SecretBytes& data) {
  try {
    return {addItem(attributes, label, data, _patience), {}};
  } catch (const Failure& failure) {
    const auto outcome = failure.locked ? SecretAddition::Outcome::locked : SecretAddition::Outcome::failed;
    return {outcome, failure.reason};
  }
}

}  // namespace pellora
