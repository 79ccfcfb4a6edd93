#include "Tests/Support/EngineWorld.h"

namespace pellora::support {

namespace {

std::string noAnswer(const ScriptedLanguageModel::Asked&) {
  throw LanguageModelError(LanguageModelError::Reason::server, "is absent");
}

}  // namespace

EngineWorld::EngineWorld(LanguageModel* given)
    : store(std::make_unique<SmallStore>(database)),
      scripted(noAnswer),
      model(given != nullptr ? given : &scripted),
      key(*ExchangeKeychain::loadOrCreate(secrets)),
      anna{*Uuid::parse("11111111-1111-4111-8111-111111111111"), "Anna", {"5550100001"}, {"anna@example.org"}},
      ben{*Uuid::parse("22222222-2222-4222-8222-222222222222"), "Ben", {"5550100002"}, {}} {
  scripted.setAvailable(false);
  annaChat = store->addChat({"+15550100001"});
  benChat = store->addChat({"+15550100002"});
  writePeople({anna, ben});
}

HelperPlatform EngineWorld::platform() {
  return {*clock,
          defaults,
          secrets,
          container,
          notifications,
          fileEvents,
          loginItem,
          *model,
          readLock,
          database,
          [this] { return LocalCalendar::inTimeZone(zone); },
          "1.0.0"};
}

ScratchHome::Records EngineWorld::freshRecords() {
  const std::filesystem::path fresh = folder / "fresh";
  std::filesystem::remove_all(fresh);
  std::filesystem::create_directories(fresh);
  std::filesystem::copy_file(shared / "people.json", fresh / "people.json");
  const FixedGroupContainer itsContainer(fresh);
  InMemoryUserDefaults itsDefaults;
  ScriptedLanguageModel itsModel(noAnswer);
  itsModel.setAvailable(false);
  InMemoryReadLock itsLock;
  HelperEngine engine({*clock, itsDefaults, secrets, itsContainer, notifications, fileEvents, loginItem, itsModel,
                       itsLock, database, [this] { return LocalCalendar::inTimeZone(zone); }, "1.0.0"});
  QCoro::waitFor(engine.readNow());
  ScratchHome::Records records{HelperDayNotes::load(key, fresh).days, MessagesLatelyInbox::readAll(key, fresh)};
  for (MessagesLatelyRecord& each : records.lately) each.writtenAt = {};
  return records;
}

void EngineWorld::writePeople(const std::vector<HelperPerson>& people) {
  HelperPeopleFile{kStart, people}.write(key, shared);
}

}  // namespace pellora::support
