// One read over real files: states, full and incremental reads, unchanged days, notes, lately records,
// progress keys, failures.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <utility>

#include "PelloraMessagesCore/ChatDatabase.h"
#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/HelperState.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "Pellora_for_Messages/Engine/ReadContext.h"
#include "Tests/Support/EngineWorld.h"
#include "Tests/Support/GatedLanguageModel.h"

namespace pellora {
namespace {

using namespace std::chrono_literals;
using support::EngineWorld;
using Kind = HelperEngineState::Kind;
using Status = HelperHeartbeat::Status;

// Answers with a sentence that passes the guard, and with nothing found.
std::string plainAnswers(const ScriptedLanguageModel::Asked& asked) {
  if (asked.schemaName == "FoundMeetups") return R"({"meetups":[]})";
  if (asked.schemaName == "FoundNews") return R"({"news":[]})";
  const std::string opening =
      asked.instructions.find("\"Lately you and Anna\"") != std::string::npos
          ? "Lately you and Anna"
          : (asked.instructions.find("\"You and Anna\"") != std::string::npos ? "You and Anna" : "You and Ben");
  return opening + " talked about the harbour and its ships.";
}

Kind stateAfterRead(EngineWorld& world) {
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  return engine->state().kind;
}

TEST(HelperEngineRead, TakesAnUnreadableOrMissingDatabaseForMissingAccess) {
  EngineWorld world;
  world.store.reset();
  std::filesystem::remove_all(world.database.parent_path());
  EXPECT_EQ(stateAfterRead(world), Kind::needsFullDiskAccess);
  EXPECT_EQ(world.heartbeat()->status, Status::needsFullDiskAccess);
  EXPECT_TRUE(world.defaults.history().empty());
}

TEST(HelperEngineRead, WaitsForPelloraWithoutKeyPeopleFileOrPeople) {
  {
    EngineWorld world;
    world.secrets.setState(InMemorySecretStore::State::locked);
    EXPECT_EQ(stateAfterRead(world), Kind::waitingForPellora);
    EXPECT_EQ(world.heartbeat()->status, Status::waitingForPellora);
  }
  {
    EngineWorld world;
    std::filesystem::remove(world.shared / "people.json");
    EXPECT_EQ(stateAfterRead(world), Kind::waitingForPellora);
  }
  {
    EngineWorld world;
    std::ofstream(world.shared / "people.json") << R"({"people":[],"writtenAt":"2026-03-10T12:00:00Z"})";
    EXPECT_EQ(stateAfterRead(world), Kind::waitingForPellora);
  }
}

TEST(HelperEngineRead, WaitsWithAnEmptyPeopleListAndKeepsTheCount) {
  EngineWorld world;
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->peopleCount(), 2);
  world.writePeople({});
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::waitingForPellora);
  EXPECT_EQ(engine->peopleCount(), 2);
}

TEST(HelperEngineRead, ADateFarBeyondAllCalendarsStopsNothing) {
  for (const std::int64_t stored :
       {std::int64_t{9'300'000'000}, std::int64_t{10'000'000'000}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    EngineWorld world;
    world.fromAnna(2h, "Hello there, how are you doing?");
    world.read();
    world.store->addRow({.chat = world.annaChat, .date = stored, .text = "From another time"});
    EXPECT_EQ(stateAfterRead(world), Kind::idle) << stored;
    EXPECT_EQ(world.lastRow(), 2) << stored;
    world.fromAnna(1h, "And today?");
    EXPECT_EQ(stateAfterRead(world), Kind::idle) << stored;
    ASSERT_TRUE(world.lately(world.anna.id)) << stored;
    EXPECT_GE(world.lately(world.anna.id)->receivedCount, 2) << stored;
  }
}

TEST(HelperEngineRead, RowsWithoutTextNeverStopWhatComesBehindThem) {
  EngineWorld world;
  world.fromAnna(2h, "Hello there");
  world.read();
  world.store->execute("BEGIN");
  for (int index = 0; index < StoreReading::kIncrementalLimit; ++index)
    world.store->addRow(
        {.chat = world.annaChat, .date = ChatDatabase::appleTime(EngineWorld::kStart - 1h), .text = "\uFFFC"});
  world.store->execute("COMMIT");
  world.fromAnna(30min, "can you call me?");
  world.read();
  EXPECT_EQ(world.lastRow(), 2 + StoreReading::kIncrementalLimit) << "the rest was read at once";
  EXPECT_EQ(world.lately(world.anna.id)->receivedCount, 2);
}

// Answers whether it is there only after something else has happened.
class LateModel : public support::GatedLanguageModel {
 public:
  Task<bool> isAvailable() override {
    if (meanwhile) std::exchange(meanwhile, {})();
    co_return false;
  }

  std::function<void()> meanwhile;
};

TEST(HelperEngineRead, AChatThatBeginsWhileTheModelIsLookedForLosesNothing) {
  LateModel model;
  EngineWorld world(&model);
  world.fromAnna(2h, "Hello there");
  for (const bool isFull : {true, false}) {
    std::int64_t chat = 0;
    model.meanwhile = [&] {
      chat = world.store->addChat({"anna@example.org"});
      world.store->addMessage(chat, EngineWorld::kStart - 1h, false, "My other address");
    };
    if (isFull) world.defaults.store({{"messages.lastRowID", std::int64_t{0}}});
    world.read();
    world.read();
    EXPECT_EQ(world.lately(world.anna.id)->receivedCount, isFull ? 2 : 3) << isFull;
  }
}

TEST(HelperEngineRead, WritesNotesRecordsProgressAndHeartbeat) {
  EngineWorld world;
  world.toAnna(2h, "Lunch tomorrow? https://example.com/menu");
  world.fromAnna(1h, "Yes! Where?");
  const auto stranger = world.store->addChat({"+15550109999"});
  const auto last = world.store->addMessage(stranger, EngineWorld::kStart - 10min, false, "You have won");
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::idle);
  EXPECT_EQ(engine->peopleCount(), 2);
  EXPECT_EQ(engine->peopleWritten(), 1);
  EXPECT_EQ(engine->lastReadAt(), EngineWorld::kStart);

  const HelperDayNotes notes = world.notes();
  ASSERT_EQ(notes.days.size(), 1U);
  EXPECT_EQ(notes.days[0].day, "2026-03-10");
  EXPECT_EQ(notes.days[0].sentCount, 1);
  EXPECT_TRUE(notes.days[0].waitingOnYou);
  EXPECT_FALSE(notes.days[0].meetups);

  const auto record = world.lately(world.anna.id);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->receivedCount, 1);
  EXPECT_EQ(record->sentLinks.at(0).url, "https://example.com/menu");
  EXPECT_FALSE(world.lately(world.ben.id));

  EXPECT_EQ(world.lastRow(), last);
  EXPECT_EQ(world.defaults.text("messages.peopleFingerprint"), peopleFingerprint({world.anna, world.ben}));
  EXPECT_EQ(world.defaults.integer("messages.notesVersion"), 9);
  EXPECT_EQ(world.defaults.date("messages.lastReadAt"), EngineWorld::kStart);
  EXPECT_EQ(world.defaults.history(),
            (std::vector<std::string>{"messages.lastRowID", "messages.peopleFingerprint", "messages.notesVersion",
                                      "messages.lastReadAt", "messages.notesMark"}));
  const auto heartbeat = world.heartbeat();
  EXPECT_EQ(heartbeat->status, Status::reading);
  EXPECT_EQ(heartbeat->lastReadAt, EngineWorld::kStart);
  EXPECT_EQ(heartbeat->helperVersion, "1.0.0");
}

TEST(HelperEngineRead, TheWindowIsExactlyThirtyTimes86400Seconds) {
  EngineWorld world;
  world.fromAnna(2'592'000s, "just inside");
  world.fromAnna(2'592'001s, "just outside");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 1);
}

TEST(HelperEngineRead, AnIncrementalReadWithNothingNewStillReportsAndRewritesRecords) {
  EngineWorld world;
  world.fromAnna(1h, "hello there");
  world.read();
  const auto before = world.lately(world.anna.id);
  const auto notes = world.notes();
  world.scheduler.advance(15min);
  world.read();
  EXPECT_EQ(world.notes(), notes);
  auto after = world.lately(world.anna.id);
  EXPECT_EQ(after->writtenAt, EngineWorld::kStart + 15min);
  after->writtenAt = before->writtenAt;
  EXPECT_EQ(after, before);
  EXPECT_EQ(world.defaults.date("messages.lastReadAt"), EngineWorld::kStart + 15min);
  EXPECT_EQ(world.heartbeat()->at, EngineWorld::kStart + 15min);
}

TEST(HelperEngineRead, AnIncrementalReadRebuildsTouchedDaysOverAllHandlesOfThePerson) {
  EngineWorld world;
  const auto mail = world.store->addChat({"Anna@Example.org"});
  world.fromAnna(3h, "from my phone");
  world.store->addMessage(mail, EngineWorld::kStart - 2h, false, "from my mail");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 2);
  world.store->addMessage(mail, EngineWorld::kStart - 1h, true, "got both");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].receivedCount, 2);
  EXPECT_EQ(world.notes().days[0].sentCount, 1);
}

TEST(HelperEngineRead, ALateRowOfAnEarlierDayRebuildsThatDayFromItsStart) {
  EngineWorld world;
  world.fromAnna(26h, "yesterday morning");
  world.fromAnna(2h, "today");
  world.read();
  world.fromAnna(14h, "last night, but it arrived late");
  world.read();
  const HelperDayNotes notes = world.notes();
  ASSERT_EQ(notes.days.size(), 2U);
  EXPECT_EQ(notes.days[0].receivedCount, 2);
  EXPECT_EQ(notes.days[1].receivedCount, 1);
}

TEST(HelperEngineRead, AnIncrementalReadLooksOnlyAtRowsAfterTheLastRow) {
  EngineWorld world;
  world.fromAnna(3h, "first");
  world.read();
  // A change that only a full read would see.
  world.store->execute("UPDATE message SET is_from_me = 1");
  world.store->addMessage(world.benChat, EngineWorld::kStart - 1h, false, "hi from Ben");
  world.read();
  EXPECT_EQ(world.lately(world.anna.id)->receivedCount, 1);
  EXPECT_EQ(world.lately(world.ben.id)->receivedCount, 1);
  world.defaults.store({{"messages.lastRowID", std::int64_t{0}}});
  world.read();
  EXPECT_EQ(world.lately(world.anna.id)->sentCount, 1);
}

TEST(HelperEngineRead, AnyChangeOfThePeopleForcesAFullRead) {
  const auto changed = [](auto change) {
    EngineWorld world;
    world.fromAnna(3h, "first");
    world.read();
    world.store->execute("UPDATE message SET is_from_me = 1");
    std::vector<HelperPerson> people{world.anna, world.ben};
    change(people);
    world.writePeople(people);
    world.read();
    return world.lately(world.anna.id)->sentCount == 1;
  };
  EXPECT_FALSE(changed([](auto&) {}));
  EXPECT_TRUE(changed([](auto& people) { people[1].phones.push_back("5550100003"); }));
  EXPECT_TRUE(changed([](auto& people) { people[1].emails.push_back("ben@example.org"); }));
  EXPECT_TRUE(changed([](auto& people) { people.pop_back(); }));
  EXPECT_TRUE(changed([](auto& people) { std::swap(people[0], people[1]); }));
  EXPECT_TRUE(changed([](auto& people) { people[1].firstName = "Benjamin"; }));
}

TEST(HelperEngineRead, NotesAndStatePutBackTogetherForceAFullRead) {
  EngineWorld world;
  world.fromAnna(3h, "first");
  world.read();
  const std::filesystem::path kept = world.shared / "Kept";
  std::filesystem::copy(world.shared / "Helper", kept, std::filesystem::copy_options::recursive);
  world.store->execute("UPDATE message SET is_from_me = 1");
  std::filesystem::remove(world.shared / "Helper" / "state.json");
  world.read();
  EXPECT_EQ(world.lately(world.anna.id)->sentCount, 1);
  std::filesystem::remove_all(world.shared / "Helper");
  std::filesystem::rename(kept, world.shared / "Helper");
  world.read();
  EXPECT_EQ(world.lately(world.anna.id)->sentCount, 1) << "the row is the same, the notes are not";
}

TEST(HelperEngineRead, AnotherNotesVersionStartsFromEmptyNotes) {
  EngineWorld world;
  world.fromAnna(3h, "first");
  world.read();
  HelperDayNotes notes = world.notes();
  notes.days[0].summary = "You and Anna spoke of an old format.";
  notes.save(world.key, world.shared);
  world.defaults.store({{"messages.notesVersion", std::int64_t{8}}});
  world.read();
  EXPECT_FALSE(world.notes().days[0].summary);
  EXPECT_EQ(world.defaults.integer("messages.notesVersion"), 9);
}

TEST(HelperEngineRead, NotesThatDoNotOpenForceAFullRead) {
  EngineWorld world;
  world.fromAnna(50h, "an older day");
  world.read();
  std::ofstream(world.shared / "Helper/notes.json") << "PMX1 but nothing more that makes sense here";
  world.fromAnna(1h, "a newer day");
  world.read();
  EXPECT_EQ(world.notes().days.size(), 2U);
  EXPECT_EQ(world.lately(world.anna.id)->dayCount, 2);
}

TEST(HelperEngineRead, UnchangedDaysKeepTheirAnalysis) {
  EngineWorld world;
  world.scripted = ScriptedLanguageModel(plainAnswers);
  world.store->addMessage(world.annaChat, EngineWorld::kStart - 3h + 123456789ns, false, "the harbour is full");
  world.fromAnna(50h, "ships came in at the harbour");
  world.read();
  ASSERT_EQ(world.notes().days.size(), 2U);
  EXPECT_EQ(world.notes().days[0].summary, "You and Anna talked about the harbour and its ships.");
  EXPECT_EQ(world.lately(world.anna.id)->summary, "Lately you and Anna talked about the harbour and its ships.");
  const auto asked = world.scripted.asked().size();
  world.defaults.store({{"messages.lastRowID", std::int64_t{0}}});
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(world.scripted.asked().size(), asked) << "in a new process";
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(world.scripted.asked().size(), asked) << "in the same process";
  EXPECT_EQ(world.lately(world.anna.id)->summary, "Lately you and Anna talked about the harbour and its ships.");
}

TEST(HelperEngineRead, TheNewestDayIsAnalyzedFirst) {
  EngineWorld world;
  world.scripted = ScriptedLanguageModel(plainAnswers);
  world.fromAnna(50h, "an older day at the harbour");
  world.fromAnna(1h, "a newer day at the harbour");
  world.read();
  ASSERT_FALSE(world.scripted.asked().empty());
  EXPECT_NE(world.scripted.asked().front().prompt.find("newer"), std::string::npos);
}

TEST(HelperEngineRead, AModelSetUpLaterAnalyzesTheWholeWindow) {
  EngineWorld world;
  world.fromAnna(50h, "an older day at the harbour");
  world.fromAnna(1h, "a newer day at the harbour");
  world.read();
  EXPECT_FALSE(world.notes().days[0].meetups);
  world.scripted = ScriptedLanguageModel(plainAnswers);
  world.read();
  for (const MessagesDayRecord& day : world.notes().days) {
    EXPECT_TRUE(day.meetups);
    EXPECT_TRUE(day.summary);
  }
}

TEST(HelperEngineRead, AnInterruptedReadKeepsTheDaysItAnalyzed) {
  support::GatedLanguageModel slow;
  EngineWorld world(&slow);
  world.fromAnna(50h, "an older day at the harbour");
  world.fromAnna(1h, "a newer day at the harbour");
  {
    const auto engine = world.makeEngine();
    engine->start();
    slow.answerOne();
    EXPECT_EQ(engine->daysAnalyzed(), 1);
  }
  slow.answerAll();
  EXPECT_EQ(HelperState::load(world.key, world.shared)->analyzed.size(), 1U);
  EXPECT_EQ(HelperState::load(world.key, world.shared)->progress->daysTotal, 2);
  world.scripted = ScriptedLanguageModel(plainAnswers);
  world.model = &world.scripted;
  world.read();
  EXPECT_FALSE(world.scripted.asked().empty());
  for (const auto& asked : world.scripted.asked())
    EXPECT_TRUE(asked.prompt.starts_with("<days>") || asked.prompt.find("newer") == std::string::npos) << "asked again";
  EXPECT_EQ(world.notes().days.size(), 2U);
  EXPECT_TRUE(HelperState::load(world.key, world.shared)->analyzed.empty());
  EXPECT_FALSE(HelperState::load(world.key, world.shared)->progress);
}

TEST(HelperEngineRead, DaysThatAnEarlierVersionAnalyzedAreTakenOverAndItsFileGoes) {
  EngineWorld world;
  const auto earlier = world.shared / HelperExchange::kEarlierStateFile;
  world.scripted = ScriptedLanguageModel(plainAnswers);
  world.fromAnna(1h, "a day at the harbour");
  world.read();
  const std::string days = ExchangeCoding::encode(world.notes());
  SealedFile::write(world.key, world.shared, HelperExchange::kEarlierStateFile, HelperExchange::kNotesContext, days);
  world.read();
  EXPECT_FALSE(std::filesystem::exists(earlier)) << "the state file holds more";
  SealedFile::write(world.key, world.shared, HelperExchange::kEarlierStateFile, HelperExchange::kNotesContext, days);
  for (const char* file : {HelperExchange::kStateFile, HelperExchange::kNotesFile})
    std::filesystem::remove(world.shared / file);
  const auto asked = world.scripted.asked().size();
  world.read();
  EXPECT_EQ(world.scripted.asked().size(), asked);
  EXPECT_TRUE(world.notes().days[0].summary);
  EXPECT_FALSE(std::filesystem::exists(earlier));
}

TEST(HelperEngineRead, AQueryErrorFailsTheReadAndKeepsTheProgress) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  world.read();
  const auto history = world.defaults.history();
  world.store->execute("ALTER TABLE message RENAME TO elsewhere");
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state(), HelperEngineState::failed("query(\"no such table: message\")"));
  EXPECT_EQ(world.heartbeat()->status, Status::failed);
  EXPECT_EQ(world.heartbeat()->lastReadAt, EngineWorld::kStart);
  EXPECT_EQ(world.defaults.history(), history);
  world.store->execute("ALTER TABLE elsewhere RENAME TO message");
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::idle);
}

TEST(HelperEngineRead, AFileThatIsNoDatabaseFailsWithTheDatabasesWords) {
  EngineWorld world;
  world.store.reset();
  std::filesystem::remove_all(world.database.parent_path());
  std::filesystem::create_directories(world.database.parent_path());
  std::ofstream(world.database) << std::string(8192, 'x');
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state(), HelperEngineState::failed("query(\"file is not a database\")"));
}

TEST(HelperEngineRead, ARecordThatCannotBeWrittenFailsTheReadAfterTheNotesAreSaved) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  std::ofstream(world.shared / "Lately") << "a file where a folder should be";
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->state().kind, Kind::failed);
  EXPECT_EQ(world.notes().days.size(), 1U);
  EXPECT_TRUE(world.defaults.history().empty());
}

TEST(HelperEngineRead, AFirstReadThatStopsAfterItsDaysAreAnalyzedAsksForNoneAgain) {
  EngineWorld world;
  world.scripted = ScriptedLanguageModel([&](const ScriptedLanguageModel::Asked& asked) {
    std::filesystem::remove_all(world.shared / "Lately");
    std::ofstream(world.shared / "Lately") << "a file where a folder should be";
    return plainAnswers(asked);
  });
  world.fromAnna(1h, "a day at the harbour");
  EXPECT_EQ(stateAfterRead(world), Kind::failed);
  EXPECT_EQ(world.notes().days.size(), 1U);
  const auto asked = world.scripted.asked().size();
  EXPECT_GT(asked, 0U);
  std::filesystem::remove(world.shared / "Lately");
  EXPECT_EQ(stateAfterRead(world), Kind::idle);
  EXPECT_EQ(world.scripted.asked().size(), asked);
  EXPECT_TRUE(world.notes().days[0].summary);
}

TEST(HelperEngineRead, TwoReadsThatWriteRecordsForFivePeopleCountTen) {
  EngineWorld world;
  std::vector<HelperPerson> people;
  for (int index = 0; index < 5; ++index) {
    const std::string number = "555020000" + std::to_string(index);
    people.push_back({Uuid::random(), "P" + std::to_string(index), {number}, {}});
    world.store->addMessage(world.store->addChat({number}), EngineWorld::kStart - 1h, false, "hello");
  }
  world.writePeople(people);
  const auto engine = world.makeEngine();
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->peopleWritten(), 5);
  QCoro::waitFor(engine->readNow());
  EXPECT_EQ(engine->peopleWritten(), 10);
}

TEST(HelperEngineRead, RowsThatArriveDuringAReadBelongToTheNext) {
  support::GatedLanguageModel slow;
  EngineWorld world(&slow);
  world.fromAnna(2h, "before the read began, at the harbour");
  const auto engine = world.makeEngine();
  engine->start();
  world.fromAnna(1h, "while the read was going on");
  slow.answerAll();
  EXPECT_EQ(world.lately(world.anna.id)->receivedCount, 1);
  engine->requestRead();
  slow.answerAll();
  EXPECT_EQ(world.lately(world.anna.id)->receivedCount, 2);
}

TEST(HelperEngineRead, ALateRowFromBeforeTheWindowIsNeitherAnalyzedNorKept) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  world.read();
  world.scripted = ScriptedLanguageModel(plainAnswers);
  world.read();
  const auto asked = world.scripted.asked().size();
  world.fromAnna(24h * 400, "from more than a year ago");
  world.read();
  EXPECT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.scripted.asked().size(), asked);
}

TEST(HelperEngineRead, PeopleWhoLeaveLoseTheirDaysButKeepTheirRecord) {
  EngineWorld world;
  world.fromAnna(1h, "hello");
  world.store->addMessage(world.benChat, EngineWorld::kStart - 1h, false, "hi");
  world.read();
  world.writePeople({world.anna});
  world.read();
  ASSERT_EQ(world.notes().days.size(), 1U);
  EXPECT_EQ(world.notes().days[0].personID, world.anna.id);
  EXPECT_TRUE(world.lately(world.ben.id));
}

}  // namespace
}  // namespace pellora
