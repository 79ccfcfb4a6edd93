// Everything that `status` tells, gathered: each part may be missing and says so itself.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Companion/History/StoreProbe.h"
#include "Companion/KeyState.h"
#include "Companion/People/PeopleStore.h"
#include "Companion/PlatformAdapters.h"
#include "PelloraMessagesCore/HelperHeartbeat.h"

namespace pellora {

struct StatusReport {
  StoreProbe store;
  KeyState key;
  PeopleStore::Kind peopleKind = PeopleStore::Kind::missing;
  std::string peopleReason;  // when the file is inaccessible why
  std::size_t people = 0;
  std::size_t sharedHandles = 0;  // numbers and addresses that several people claim
  std::size_t latelyRecords = 0;
  std::string latelyReason;  // when they cannot be listed why
  std::optional<HelperHeartbeat> heartbeat;
  std::optional<Instant> lastReadAt;
  std::optional<ModelReport> model;              // absent when nobody looked
  std::optional<ConfinementReport> protections;  // absent when the helper tells of none
  Instant now;

  static StatusReport gather(const CompanionContext& context, const std::filesystem::path& store);

  bool isHelperFresh() const { return heartbeat && heartbeat->isFresh(now); }

  // What to do next, in one sentence.
  std::string nextStep() const;

  std::string text(const CompanionContext& context) const;
};

}  // namespace pellora
