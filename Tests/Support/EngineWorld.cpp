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
  return {*clock,     defaults,  secrets, container, notifications,
          fileEvents, loginItem, *model,  database,  [] { return LocalCalendar::inTimeZone("UTC"); },
          "1.0.0"};
}

void EngineWorld::writePeople(const std::vector<HelperPerson>& people) {
  HelperPeopleFile{kStart, people}.write(key, shared);
}

}  // namespace pellora::support
