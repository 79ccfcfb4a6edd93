// Everything around an engine, for tests: a scratch folder with a small Messages store and a shared folder, fakes
// behind every port, virtual time that begins on 2026-03-10 12:00:00 UTC, two people with one chat each.
#pragma once

#include <QCoroTask>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Adapters/InMemory/InMemoryDesktop.h"
#include "Adapters/InMemory/InMemoryEvents.h"
#include "Adapters/InMemory/InMemoryStorage.h"
#include "Adapters/InMemory/ScriptedLanguageModel.h"
#include "Adapters/InMemory/VirtualScheduler.h"
#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesLatelyInbox.h"
#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Tests/Support/ScratchHome.h"
#include "Tests/Support/SmallStore.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

class EngineWorld {
 public:
  static constexpr Instant kStart = instantAtSeconds(1'773'144'000);

  explicit EngineWorld(LanguageModel* model = nullptr);

  HelperPlatform platform();
  // A new process over the same files and settings.
  std::unique_ptr<HelperEngine> makeEngine() { return std::make_unique<HelperEngine>(platform()); }
  void read() { QCoro::waitFor(makeEngine()->readNow()); }

  void writePeople(const std::vector<HelperPerson>& people);
  // What a read of the same store leaves that knows of no earlier read and no model.
  ScratchHome::Records freshRecords();
  HelperDayNotes notes() const { return HelperDayNotes::load(key, shared); }
  std::optional<MessagesLatelyRecord> lately(const Uuid& person) const {
    return MessagesLatelyInbox::read(key, shared, person);
  }
  std::optional<HelperState> state() const { return HelperState::load(key, shared); }
  std::optional<HelperHeartbeat> heartbeat() const { return HelperHeartbeat::read(shared); }
  std::int64_t lastRow() const { return defaults.integer("messages.lastRowID").value_or(0); }

  // `ago` before the start of virtual time.
  std::int64_t fromAnna(std::chrono::seconds ago, const std::string& text) {
    return store->addMessage(annaChat, kStart - ago, SmallStore::kFromThem, text);
  }
  std::int64_t toAnna(std::chrono::seconds ago, const std::string& text) {
    return store->addMessage(annaChat, kStart - ago, SmallStore::kFromMe, text);
  }

  TemporaryFolder folder;
  std::filesystem::path shared = folder / "shared";
  std::string zone = "UTC";  // of the calendars that engines get
  std::filesystem::path database = folder / "Messages/chat.db";
  std::unique_ptr<SmallStore> store;
  VirtualScheduler scheduler{kStart};
  Scheduler* clock = &scheduler;  // what engines get
  InMemoryUserDefaults defaults;
  InMemorySecretStore secrets;
  FixedGroupContainer container{shared};
  InMemoryNotificationCenter notifications;
  InMemoryFileEvents fileEvents;
  InMemoryLoginItem loginItem;
  InMemoryReadLock readLock;
  ScriptedLanguageModel scripted;
  LanguageModel* model;
  ExchangeKey key;
  HelperPerson anna;
  HelperPerson ben;
  std::int64_t annaChat = 0;
  std::int64_t benChat = 0;
};

}  // namespace pellora::support
