// Everything that `status` says, gathered: each part may be missing and says so itself.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Companion/CompanionContext.h"
#include "Companion/History/StoreProbe.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"

namespace pellora {

struct StatusReport {
  // Most people write or get a message within this time; a store without one is likely a copy that grew old.
  static constexpr std::chrono::days kStoreIsOldAfter{14};

  // The helper reads four times an hour; what is older than this tells of another time.
  static constexpr std::chrono::days kReadIsOldAfter{1};

  StoreProbe store;
  KeyState key;
  PeopleStore::Kind peopleKind = PeopleStore::Kind::missing;
  std::string peopleReason;  // when the file is inaccessible why
  std::size_t people = 0;
  std::size_t sharedHandles = 0;  // numbers and addresses that several people claim
  std::size_t latelyRecords = 0;
  std::optional<Instant> latelyWrittenAt;  // the newest of them
  std::string latelyReason;                // when they cannot be listed why
  std::optional<HelperHeartbeat> heartbeat;
  std::optional<Instant> lastReadAt;
  std::optional<ModelReport> model;              // absent when nobody looked
  std::optional<ConfinementReport> protections;  // absent when the helper reports none
  // Absent when the helper has kept none that opens. Tells of a read only while one runs.
  std::optional<HelperState> state;
  platform_adapters::HelperPresence presence = platform_adapters::HelperPresence::notRunning;
  std::string trayObstacle;  // empty when there is none, or nobody looked
  Instant now;

  static StatusReport gather(const CompanionContext& context);

  bool isHelperRunning() const { return presence == platform_adapters::HelperPresence::running; }

  // Whether the store's newest message is older than that.
  bool isStoreOld() const;

  // Whether this was long before now, or is dated after now: not by the helper at work here, or by another clock.
  bool isOldRead(const std::optional<Instant>& instant) const;

  // Whether the helper runs and says nothing: the heartbeat that is there is not of this time.
  bool isHelperSilent() const { return isHelperRunning() && heartbeat && !heartbeat->isFresh(now); }

  // Of the read that is running now.
  std::optional<ReadProgress> progress() const;

  // What to do next, in one sentence.
  std::string nextStep() const;

  // How many people there are, or why nobody can tell.
  std::string peopleText() const;

  std::string text(const CompanionContext& context) const;

 private:
  // When everything that the helper needs is there.
  std::string nextStepWithHelper() const;
};

// The helper in words: whether it runs, what it does, how far a read is, and what it said last. An old heartbeat, as
// one has that comes back from a backup with its folder, is told as old, not as the state of things.
//
// `progress` is of a read that may be running; a helper that does not run is not reading.
std::string helperText(platform_adapters::HelperPresence presence, const std::optional<HelperHeartbeat>& heartbeat,
                       const std::optional<ReadProgress>& progress, const CompanionContext& context);

// The status as the heartbeat's file spells it.
std::string_view statusWord(HelperHeartbeat::Status status);

}  // namespace pellora
