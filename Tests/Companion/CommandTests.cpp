// The commands in memory: what they do to the files and what they say.
#include <gmock/gmock.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/StatusReport.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/People/PeopleParser.h"
#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {
namespace {

using support::CompanionWorld;
using support::failureOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Json = nlohmann::json;
using Secrets = InMemorySecretStore::State;

constexpr char kCsv[] = "Name,Phone\nAnna,5551234567\nBob,5559876543\nCarla,\n";

std::string import(CompanionWorld& world, const std::string& text, PeopleImportCommand command = {}) {
  return command.run(world.context(), parsePeople(text)).output;
}

TEST(PeopleImportCommand, MakesTheKeyAndThePeopleFile) {
  CompanionWorld world;
  const std::string output = import(world, kCsv);
  EXPECT_THAT(output, HasSubstr("Took 2 people from the CSV: 2 added."));
  EXPECT_THAT(output, HasSubstr("Carla  no phone number or e-mail address"));
  EXPECT_THAT(output, HasSubstr("Created the exchange key."));
  EXPECT_EQ(world.secrets().count(), 1U);
  EXPECT_THAT(world.readPeople(), SizeIs(2));
}

TEST(PeopleImportCommand, ASecondTimeChangesNothing) {
  CompanionWorld world;
  import(world, kCsv);
  const auto before = AtomicFile::read(world.shared() / "people.json");
  const std::string output = import(world, kCsv);
  EXPECT_THAT(output, HasSubstr("2 unchanged"));
  EXPECT_THAT(output, Not(HasSubstr("Created the exchange key")));
  EXPECT_EQ(AtomicFile::read(world.shared() / "people.json"), before);
}

TEST(PeopleImportCommand, TellsWhatChanged) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  const std::string output = import(world, "Name,Phone,Email\nAnna,5551234567,new@example.org\n");
  EXPECT_THAT(output, HasSubstr("1 updated"));
  EXPECT_THAT(output, HasSubstr("+ new@example.org, - anna@example.org"));
  EXPECT_THAT(world.readPeople(),
              ElementsAre(HelperPerson{CompanionWorld::anna().id, "Anna", {"5551234567"}, {"new@example.org"}},
                          CompanionWorld::bob()));
}

TEST(PeopleImportCommand, ReplacingRemovesTheOthersAndSaysSo) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  PeopleImportCommand command;
  command.replaces = true;
  const std::string output = import(world, "Name,Phone\nBob,5559876543\n", command);
  EXPECT_THAT(output, HasSubstr("1 unchanged, 1 removed"));
  EXPECT_THAT(world.readPeople(), ElementsAre(CompanionWorld::bob()));
}

TEST(PeopleImportCommand, ATrialWritesNothing) {
  CompanionWorld world;
  PeopleImportCommand command;
  command.isTrial = true;
  EXPECT_THAT(import(world, kCsv, command), HasSubstr("Would take 2 people"));
  EXPECT_EQ(world.secrets().count(), 0U);
  EXPECT_FALSE(std::filesystem::exists(world.shared() / "people.json"));
}

TEST(PeopleImportCommand, WarnsWhenTwoPeopleClaimOneNumber) {
  CompanionWorld world;
  EXPECT_THAT(import(world, "Name,Phone\nAnna,5551234567\nBob,+1 555 123 4567\n"),
              HasSubstr("Warning: 5551234567 is claimed by Anna and Bob, so it will match nobody."));
}

TEST(PeopleImportCommand, AnEmptyListEmptiesEverythingOnlyWhenItReplaces) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 3600));
  EXPECT_THROW(import(world, "[]"), CompanionFailure);
  EXPECT_THAT(world.readPeople(), SizeIs(1));
  PeopleImportCommand command;
  command.replaces = true;
  EXPECT_THROW(import(world, "[{\"firstName\":\"Zoe\"}]", command), CompanionFailure)
      << "nobody usable is not an empty list";
  EXPECT_THAT(import(world, "[]", command), HasSubstr("now holds 0 people"));
  EXPECT_THAT(world.readPeople(), IsEmpty());
  EXPECT_THAT(LatelyStore::read(world.context(), world.key()).records, IsEmpty());
}

TEST(PeopleImportCommand, NeverOverwritesAPeopleFileThatDoesNotOpen) {
  CompanionWorld world;
  world.key();
  AtomicFile::write(world.shared() / "people.json", "PMX1 damaged");
  EXPECT_THROW(import(world, kCsv), CompanionFailure);
  EXPECT_EQ(AtomicFile::read(world.shared() / "people.json"), "PMX1 damaged");
  PeopleImportCommand command;
  command.replaces = true;
  import(world, kCsv, command);
  EXPECT_THAT(world.readPeople(), SizeIs(2));
}

TEST(PeopleImportCommand, MakesNoNewKeyBesideAPeopleFileOfAnotherKey) {
  CompanionWorld world;
  AtomicFile::write(world.shared() / "people.json", "PMX1 of a lost key");
  EXPECT_THROW(import(world, kCsv), CompanionFailure);
  EXPECT_EQ(world.secrets().count(), 0U);
}

TEST(PeopleImportCommand, WritesNothingWithoutAccessToTheKey) {
  for (const Secrets state : {Secrets::locked, Secrets::unavailable}) {
    CompanionWorld world;
    world.secrets().setState(state);
    EXPECT_THROW(import(world, kCsv), CompanionFailure);
    EXPECT_FALSE(std::filesystem::exists(world.shared() / "people.json"));
  }
}

PeopleImportCommand replacing() {
  PeopleImportCommand command;
  command.replaces = true;
  return command;
}

PeopleImportCommand trying() {
  PeopleImportCommand command;
  command.isTrial = true;
  return command;
}

std::string failureOfImport(CompanionWorld& world, PeopleImportCommand command = {}) {
  try {
    import(world, kCsv, command);
  } catch (const CompanionFailure& failure) {
    return failure.what();
  }
  return {};
}

TEST(PeopleImportCommand, BlamesTheStoreThatGivesNoKeyAndNotThePeopleFile) {
  struct {
    Secrets state;
    const char* sentence;
  } const kCases[] = {
      {Secrets::locked, "The keyring is locked; unlock it (signing in to the desktop usually does), then try again."},
      {Secrets::unavailable,
       "There is no keyring; start a keyring, or keep the key in a file: pellora-companion key use-file."}};
  for (const auto& each : kCases) {
    CompanionWorld world;
    world.writePeople({CompanionWorld::anna()});
    world.secrets().setState(each.state);
    EXPECT_EQ(failureOfImport(world), each.sentence);
    EXPECT_EQ(failureOfImport(world, replacing()), each.sentence) << "replacing";
    EXPECT_EQ(failureOfImport(world, trying()), each.sentence) << "trial";
    world.secrets().setState(Secrets::open);
    EXPECT_THAT(world.readPeople(), SizeIs(1));
  }
}

TEST(PeopleImportCommand, OffersToReplaceOnlyAFileThatTheKeyDoesNotOpen) {
  CompanionWorld world;
  AtomicFile::write(world.shared() / "people.json", "PMX1 of a lost key");
  EXPECT_EQ(
      failureOfImport(world),
      "The people file exists but there is no exchange key that opens it; nothing was changed (is "
      "PELLORA_SECRET_STORE set as when it was written? Otherwise people import --replace writes it again, with a "
      "new key).");
  world.key();
  EXPECT_EQ(failureOfImport(world),
            "The people file exists but does not open with the exchange key; nothing was changed "
            "(people import --replace writes it again).");
}

// Each puts something that cannot be read where the people file belongs.
struct Obstacle {
  const char* reason;
  void (*put)(const std::filesystem::path& shared);
};

const Obstacle kObstacles[] = {
    {"Too many levels of symbolic links",
     [](const std::filesystem::path& shared) {
       std::filesystem::create_directory(shared);
       std::filesystem::create_symlink("people.json", shared / "people.json");
     }},
    {"Too many levels of symbolic links",
     [](const std::filesystem::path& shared) { std::filesystem::create_symlink("shared", shared); }},
    {"not a regular file",
     [](const std::filesystem::path& shared) { std::filesystem::create_directories(shared / "people.json"); }},
};

TEST(PeopleStore, SaysWhyThePeopleFileCannotBeRead) {
  for (const Obstacle& obstacle : kObstacles) {
    CompanionWorld world;
    world.key();
    obstacle.put(world.shared());
    const std::string sentence = std::string("The people file cannot be read: ") + obstacle.reason;
    EXPECT_EQ(failureOfImport(world), sentence + "; nothing was changed.");
    EXPECT_EQ(failureOf(PeopleListCommand(), world.context()), sentence + ".");
    const auto report = StatusReport::gather(world.context());
    EXPECT_THAT(report.text(world.context()), HasSubstr("the people file cannot be read: "));
    EXPECT_EQ(report.peopleReason, obstacle.reason);
  }
}

TEST(PeopleStore, SaysThatPermissionIsMissing) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  for (const auto& place : {world.shared() / "people.json", world.shared()}) {
    std::filesystem::permissions(place, std::filesystem::perms::none);
    EXPECT_EQ(failureOfImport(world), "The people file cannot be read: Permission denied; nothing was changed.");
    EXPECT_THAT(StatusReport::gather(world.context()).text(world.context()), HasSubstr("Permission denied"));
    std::filesystem::permissions(place, std::filesystem::perms::owner_all);
  }
}

TEST(PeopleImportCommand, TellsWhyTheKeyWasNotTaken) {
  CompanionWorld world;
  world.secrets().setState(Secrets::withoutCollection);
  EXPECT_EQ(failureOfImport(world),
            "There is no keyring yet that could keep the key; start a keyring, or keep the key in a file: "
            "pellora-companion key use-file.");
  EXPECT_THAT(StatusReport::gather(world.context()).text(world.context()), HasSubstr("There is no keyring yet"))
      << "before anybody tries";
}

TEST(PeopleImportCommand, JsonTellsTheSame) {
  CompanionWorld world;
  PeopleImportCommand command;
  command.json = true;
  const Json json = Json::parse(import(world, kCsv, command));
  EXPECT_EQ(json["added"].size(), 2U);
  EXPECT_EQ(json["added"][0]["firstName"], "Anna");
  EXPECT_EQ(json["skipped"][0]["entry"], "Carla");
  EXPECT_EQ(json["total"], 2);
  EXPECT_EQ(json["format"], "CSV");
}

TEST(PeopleListCommand, ItsJsonCanBeImportedAgain) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna(), {CompanionWorld::bob().id, "", {"5559876543"}, {}}});
  const std::string json = PeopleListCommand{true}.run(world.context()).output;
  CompanionWorld other;
  import(other, json);
  EXPECT_EQ(other.readPeople(), world.readPeople());
}

TEST(PeopleListCommand, SaysWhatIsMissing) {
  CompanionWorld world;
  EXPECT_THAT(failureOf(PeopleListCommand(), world.context()), HasSubstr("no exchange key"));
  world.key();
  EXPECT_THAT(failureOf(PeopleListCommand(), world.context()), HasSubstr("no people file yet"));
  AtomicFile::write(world.shared() / "people.json", "x");
  EXPECT_THAT(failureOf(PeopleListCommand(), world.context()), HasSubstr("does not open"));
}

TEST(KeyCommand, SaysWhetherThereIsOneAndNeverItsBytes) {
  CompanionWorld world;
  EXPECT_THAT(KeyCommand().run(world.context()).complaint, HasSubstr("no exchange key"));
  EXPECT_EQ(KeyCommand{true}.run(world.context()).output, "{\"key\":\"none\",\"reason\":\"\"}\n");
  world.key();
  EXPECT_EQ(KeyCommand().run(world.context()).output, "There is an exchange key.\n");
  EXPECT_THAT(KeyCommand().run(world.context()).complaint, IsEmpty());
  EXPECT_EQ(KeyCommand{true}.run(world.context()).output, "{\"key\":\"found\",\"reason\":\"\"}\n");
  world.secrets().setState(Secrets::locked);
  EXPECT_THAT(KeyCommand().run(world.context()).complaint, Not(IsEmpty()));
}

TEST(PersonChoice, AnEmptyTextNamesNobody) {
  CompanionWorld world;
  HelperPerson nameless = CompanionWorld::bob();
  nameless.firstName.clear();
  world.writePeople({nameless});
  world.writeLately(CompanionWorld::record(nameless, 7200));
  for (const char* empty : {"", " ", "\t\u200B"}) {
    EXPECT_THAT(failureOf(DeleteCommand{empty, false}, world.context()), HasSubstr("names nobody"));
    EXPECT_THAT(failureOf(LatelyCommand{empty, false, {}}, world.context()), HasSubstr("names nobody"));
  }
  EXPECT_TRUE(std::filesystem::exists(LatelyStore::file(world.shared(), nameless.id)));
}

TEST(LatelyStore, NoFolderMeansNoRecords) {
  CompanionWorld world;
  world.key();
  EXPECT_THAT(LatelyCommand().run(world.context()).output, HasSubstr("There are no lately records yet"));
  EXPECT_THAT(SweepCommand().run(world.context()).output, HasSubstr("Removed 0 files"));
}

void expectNoListing(CompanionWorld& world, const char* reason) {
  const auto isTold = HasSubstr(std::string("The lately records cannot be listed: ") + reason);
  EXPECT_THAT(failureOf(LatelyCommand(), world.context()), isTold);
  EXPECT_THAT(failureOf(LatelyCommand{"Anna", true, {}}, world.context()), isTold);
  EXPECT_THAT(failureOf(SweepCommand(), world.context()), isTold);
  EXPECT_THAT(failureOf(DeleteCommand{"Anna", false}, world.context()), isTold);
  EXPECT_THAT(failureOf(DeleteCommand{CompanionWorld::anna().id.toString(), false}, world.context()),
              HasSubstr("cannot be removed"));
  const auto report = StatusReport::gather(world.context());
  EXPECT_THAT(report.text(world.context()), HasSubstr(std::string("cannot be listed: ") + reason));
}

TEST(LatelyStore, RecordsThatCannotBeListedAreNotTakenForNone) {
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  std::filesystem::create_symlink("Lately", world.shared() / "Lately");
  expectNoListing(world, "Too many levels of symbolic links");
}

TEST(LatelyStore, SaysThatPermissionIsMissing) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not bind this user";
  CompanionWorld world;
  world.writePeople({CompanionWorld::anna()});
  world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 7200));
  for (const auto& place : {world.shared() / "Lately", world.shared()}) {
    std::filesystem::permissions(place, std::filesystem::perms::none);
    expectNoListing(world, "Permission denied");
    std::filesystem::permissions(place, std::filesystem::perms::owner_all);
  }
}

struct Step {
  const char* next;
  void (*prepare)(StatusReport&);
};

// Each makes good what the one before asked for.
const Step kSteps[] = {
    {"Bring your history onto this device", [](StatusReport&) {}},
    {"Close the program that has the Messages database locked",
     [](StatusReport& report) { report.store.isLocked = true; }},
    {"Choose the people", [](StatusReport& report) { report.store = {{}, 5, {}, false}; }},
    {"Bring back the exchange key", [](StatusReport& report) { report.peopleKind = PeopleStore::Kind::sealed; }},
    {"Give yourself access to the people file",
     [](StatusReport& report) { report.peopleKind = PeopleStore::Kind::inaccessible; }},
    {"Unlock the keyring", [](StatusReport& report) { report.key.kind = KeyState::Kind::locked; }},
    {"Import the people again",
     [](StatusReport& report) {
       report.key.kind = KeyState::Kind::found;
       report.key.key = ExchangeKey::random();
       report.peopleKind = PeopleStore::Kind::sealed;
     }},
    {"Give yourself access to the lately records",
     [](StatusReport& report) {
       report.peopleKind = PeopleStore::Kind::read;
       report.people = 2;
       report.latelyReason = "Permission denied";
     }},
    {"Start the helper", [](StatusReport& report) { report.latelyReason.clear(); }},
    {"Ask for a read",
     [](StatusReport& report) {
       report.presence = platform_adapters::HelperPresence::running;
       report.heartbeat = HelperHeartbeat{report.now, HelperHeartbeat::Status::reading, {}, "1.0"};
     }},
    {"If the helper stays silent, start it again.",
     [](StatusReport& report) { report.heartbeat->at = report.now - HelperHeartbeat::kFreshFor; }},
    {"was PELLORA_SECRET_STORE set for only one of the two",
     [](StatusReport& report) {
       report.heartbeat->at = report.now;
       report.heartbeat->status = HelperHeartbeat::Status::waitingForPellora;
     }},
    {"Start the helper again, so that it may read the Messages folder that is there now.",
     [](StatusReport& report) { report.heartbeat->status = HelperHeartbeat::Status::needsFullDiskAccess; }},
    {"see why the last read failed",
     [](StatusReport& report) { report.heartbeat->status = HelperHeartbeat::Status::failed; }},
    {"Look at the result: pellora-companion lately (or view, in the browser). Sentences and news need a language "
     "model on this device: Documentation/LanguageModel.md",
     [](StatusReport& report) {
       report.heartbeat->status = HelperHeartbeat::Status::reading;
       report.latelyRecords = 2;
       report.model = ModelReport();
     }},
    {"Look at the result: pellora-companion lately", [](StatusReport& report) { report.model->isAvailable = true; }},
    {"Bring newer messages: pellora-companion history refresh",
     [](StatusReport& report) { report.store.summary.newestMessageAt = report.now - std::chrono::days(15); }},
    {"Look at the result: pellora-companion lately",
     [](StatusReport& report) { report.store.summary.newestMessageAt = report.now - std::chrono::days(13); }},
    {"Wait for the read that is running; what is done shows already",
     [](StatusReport& report) {
       report.state = HelperState();
       report.state->progress = ReadProgress{report.now, 12, 84};
     }},
    {"Wait for the read that is running.",
     [](StatusReport& report) {
       report.state->progress.reset();
       report.presence = platform_adapters::HelperPresence::onlyReads;
     }},
};

TEST(StatusReport, TheNextStepIsTheFirstThatIsMissing) {
  CompanionWorld world;
  StatusReport report;
  report.now = instantAtSeconds(CompanionWorld::kNow);
  for (const Step& step : kSteps) {
    step.prepare(report);
    EXPECT_THAT(report.nextStep(), HasSubstr(step.next));
    EXPECT_THAT(report.text(world.context()), HasSubstr("Next step"));
  }
}

TEST(StatusReport, AHelperThatEndedIsNotTakenForOneThatRuns) {
  CompanionWorld world;
  const Instant now = instantAtSeconds(CompanionWorld::kNow);
  HelperHeartbeat{now - std::chrono::minutes(2), HelperHeartbeat::Status::reading, now, "1.2.3"}.write(world.shared());
  auto report = StatusReport::gather(world.context());
  CompanionContext wide = world.context();
  wide.style.width = 200;
  EXPECT_THAT(report.text(wide),
              HasSubstr("not running, last heard from 2 minutes ago (its last read went well, version 1.2.3)"));
  report.presence = platform_adapters::HelperPresence::running;
  EXPECT_THAT(report.text(wide), HasSubstr("running, reading normally (last heard from 2 minutes ago, version 1.2.3)"));
}

// As after the shared folder was put back from a backup.
TEST(StatusReport, AnOldHeartbeatIsNotTheStateOfThings) {
  CompanionWorld world;
  const Instant now = instantAtSeconds(CompanionWorld::kNow);
  const Instant then = now - std::chrono::days(60);
  HelperHeartbeat{then, HelperHeartbeat::Status::reading, then, "1.2.3"}.write(world.shared());
  MessagesLatelyRecord record = CompanionWorld::record(CompanionWorld::anna(), 3600);
  record.writtenAt = then;
  world.writeLately(record);
  auto report = StatusReport::gather(world.context());
  CompanionContext wide = world.context();
  wide.style.width = 200;
  EXPECT_THAT(report.text(wide), HasSubstr("last heard from 2 months ago (its last read went well"));
  EXPECT_THAT(report.text(wide), HasSubstr("1, the newest written 2 months ago"));
  EXPECT_TRUE(report.isOldRead(report.lastReadAt));
  report.presence = platform_adapters::HelperPresence::running;
  EXPECT_THAT(report.text(wide),
              HasSubstr("running, but silent: last heard from 2 months ago (its last read went well"));
  report.heartbeat->at = now + std::chrono::days(2);
  EXPECT_THAT(report.text(wide), HasSubstr("(its heartbeat is dated ahead of the clock, in 2 days, version 1.2.3)"));
  report.heartbeat->at = now;
  report.latelyWrittenAt = now;
  EXPECT_THAT(report.text(wide), Not(HasSubstr("the newest written")));
}

TEST(StatusReport, TellsHowFarAReadIsAndWhatWaitsForTheModel) {
  CompanionWorld world;
  const Instant now = instantAtSeconds(CompanionWorld::kNow);
  HelperState state;
  state.progress = ReadProgress{now - std::chrono::minutes(5), 12, 84};
  state.model.waitingDays = 84;
  state.model.lastFailure = "answered 500 (out of memory)";
  state.model.nextTryAt = now + std::chrono::minutes(15);
  state.save(world.key(), world.shared());
  auto report = StatusReport::gather(world.context());
  EXPECT_THAT(report.text(world.context()), Not(HasSubstr("12 of 84"))) << "nothing runs; a killed read left it";
  report.presence = platform_adapters::HelperPresence::running;
  CompanionContext wide = world.context();
  wide.style.width = 200;
  EXPECT_THAT(report.text(wide),
              HasSubstr("running, reading: the model has done 12 of 84 days, started 5 minutes ago"));
  EXPECT_THAT(report.text(wide),
              HasSubstr("The model server answered 500 (out of memory). 84 days wait; next try in 15 "
                        "minutes."));
  report.state->model.nextTryAt = now - std::chrono::minutes(1);
  report.state->model.waitingDays = 1;
  EXPECT_THAT(report.text(wide), HasSubstr("1 day waits; next try with the next read."));
  const Json json = Json::parse(companion_json::text(report));
  EXPECT_EQ(json["helper"]["progress"]["daysTotal"], 84);
  EXPECT_EQ(json["helper"]["waitingDays"], 1);
}

TEST(StatusReport, ADamagedHeartbeatIsTold) {
  CompanionWorld world;
  AtomicFile::write(world.shared() / "heartbeat.json", "{");
  const auto report = StatusReport::gather(world.context());
  EXPECT_THAT(report.text(world.context()), HasSubstr("its heartbeat cannot be read"));
}

}  // namespace
}  // namespace pellora
