// The commands about people that look into a store or change the people file.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "Companion/Commands/Commands.h"
#include "Companion/Lately/LatelyStore.h"
#include "Companion/Output/CompanionFailure.h"
#include "Companion/People/PeopleChoice.h"
#include "Companion/People/PeopleParser.h"
#include "Companion/People/StoreHandles.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/SmallStore.h"

namespace pellora {
namespace {

using support::CompanionWorld;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Json = nlohmann::json;

class PeopleCommands : public testing::Test {
 protected:
  PeopleCommands() : _store(_folder / "chat.db") {}

  CompanionContext context() {
    CompanionContext context = _world.context();
    context.store = _store.path();
    return context;
  }

  void chat(const std::string& handle, int sent, int received) {
    const auto chat = _store.addChat({handle});
    for (int message = 0; message < sent + received; ++message)
      _store.addMessage(chat, instantAtSeconds(CompanionWorld::kNow - 3600 + message), message < sent, "secret words");
  }

  Json import(const std::string& text, PeopleImportCommand command = {}) {
    command.json = true;
    return Json::parse(command.run(context(), parsePeople(text)).output);
  }

  std::string failureOf(const auto& command) { return support::failureOf(command, context()); }

  support::TemporaryFolder _folder;
  support::SmallStore _store;
  CompanionWorld _world;
};

TEST_F(PeopleCommands, AnImportSaysWhoAppearsInMessages) {
  chat("+33612345678", 2, 2);
  chat("ada@example.org", 1, 1);
  const Json told = import("Name,Phone,Email\nZoé,06 12 34 56 78,\nAda,,ADA@example.org\nBob,06 99 99 99 99,\n");
  EXPECT_EQ(told["appearing"], 2);
  EXPECT_EQ(told["notFound"], Json::array({"Bob"}));
  const std::string text = PeopleImportCommand().run(context(), parsePeople("Name,Phone\nBob,06 99 99 99 99\n")).output;
  EXPECT_THAT(text, HasSubstr("0 of 1 person appears in Messages; not found: Bob."));
}

TEST_F(PeopleCommands, WithoutAStoreNothingIsSaidOfIt) {
  CompanionContext context = _world.context();
  PeopleImportCommand command;
  command.json = true;
  EXPECT_TRUE(
      Json::parse(command.run(context, parsePeople("Name,Phone\nBob,+33699999999\n")).output)["appearing"].is_null());
}

TEST_F(PeopleCommands, ACountryThatIsNoneIsRefused) {
  PeopleImportCommand command;
  command.country = "Germany";
  EXPECT_THROW(import("Name,Phone\nBob,0301234567\n", command), CompanionFailure);
  command.country = "de";
  EXPECT_EQ(import("Name,Phone\nBob,0301234567\n", command)["added"][0]["phones"][0], "9301234567");
}

TEST_F(PeopleCommands, SeveralFilesAreOneImport) {
  std::ofstream(_folder / "a.csv") << "Name,Phone\nAda,+493012345678\n";
  std::ofstream(_folder / "b.vcf") << "BEGIN:VCARD\nN:;Bob;;;\nTEL:+447700900123\nEND:VCARD\n";
  PeopleImportCommand command;
  command.sources = {_folder / "a.csv", _folder / "b.vcf"};
  command.run(context());
  EXPECT_THAT(_world.readPeople(), SizeIs(2));
}

TEST_F(PeopleCommands, OnlyTheNamedAreTaken) {
  const char kBook[] =
      "First name,Last name,Full name,Phone\nAda,Lovelace,Ada Lovelace,+493012345678\nAda,Byron,Ada "
      "Byron,+493012345679\nBob,Bones,Bob Bones,+447700900123\nNone,,None,\n";
  PeopleImportCommand command;
  command.only = {"bob", "ada byron"};
  const Json told = import(kBook, command);
  EXPECT_EQ(told["added"].size(), 2U);
  EXPECT_THAT(told["skipped"], IsEmpty());
  command.only = {"Ada"};
  EXPECT_THROW(import(kBook, command), CompanionFailure) << "two have this name";
  command.only = {"Zoe"};
  EXPECT_THROW(import(kBook, command), CompanionFailure);
}

// As in a home that cannot be written.
TEST_F(PeopleCommands, ATrialNeedsNoLock) {
  std::filesystem::create_directories(*context().runtime / "people.lock");
  PeopleImportCommand command;
  EXPECT_THROW(import("Name,Phone\nBob,5559876543\n", command), CompanionFailure);
  command.isTrial = true;
  EXPECT_EQ(import("Name,Phone\nBob,5559876543\n", command)["added"].size(), 1U);
}

TEST(PeopleChoice, NumbersAndRangesAreUnderstood) {
  using Chosen = std::vector<bool>;
  EXPECT_EQ(people_choice::chosen("1 3-4", 4), (Chosen{true, false, true, true}));
  EXPECT_EQ(people_choice::chosen("2,1", 2), (Chosen{true, true}));
  for (const char* wrong : {"", " ", "0", "5", "3-2", "x", "1-", "1-9", "-1", "99999999999999999999"})
    EXPECT_FALSE(people_choice::chosen(wrong, 4).has_value()) << wrong;
}

TEST_F(PeopleCommands, RemovingTakesTheRecordAlong) {
  _world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  for (const auto& person : {CompanionWorld::anna(), CompanionWorld::bob()})
    _world.writeLately(CompanionWorld::record(person, 3600));
  EXPECT_THAT(PeopleRemoveCommand{"anna"}.run(context()).output, HasSubstr("Removed Anna"));
  EXPECT_THAT(_world.readPeople(), ElementsAre(CompanionWorld::bob()));
  const LatelyStore left = LatelyStore::read(context(), _world.key());
  ASSERT_THAT(left.records, SizeIs(1));
  EXPECT_EQ(left.records[0].record.personID, CompanionWorld::bob().id);
  EXPECT_THAT(failureOf(PeopleRemoveCommand{"anna"}), HasSubstr("nobody called"));
}

TEST_F(PeopleCommands, ReplacingTakesTheRecordsOfOthersAlong) {
  _world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  _world.writeLately(CompanionWorld::record(CompanionWorld::anna(), 3600));
  PeopleImportCommand command;
  command.replaces = true;
  command.isTrial = true;
  import("Name,Phone\nBob,5559876543\n", command);
  EXPECT_THAT(LatelyStore::read(context(), _world.key()).records, SizeIs(1)) << "a trial removes nothing";
  command.isTrial = false;
  import("Name,Phone\nBob,5559876543\n", command);
  EXPECT_THAT(LatelyStore::read(context(), _world.key()).records, IsEmpty());
}

TEST_F(PeopleCommands, TwoOfOneNameAreToldApart) {
  const HelperPerson other{Uuid(), "anna", {"5550000000"}, {}};
  _world.writePeople({CompanionWorld::anna(), other});
  EXPECT_THAT(failureOf(PeopleRemoveCommand{"Anna"}), HasSubstr(CompanionWorld::anna().id.toString()));
  EXPECT_EQ(personTitle(other, {CompanionWorld::anna(), other}), "anna (5550000000)");
  EXPECT_EQ(personTitle(other, {other, CompanionWorld::bob()}), "anna");
}

TEST_F(PeopleCommands, TheListSaysWhoAppears) {
  chat("+15551234567", 1, 1);
  _world.writePeople({CompanionWorld::anna(), CompanionWorld::bob()});
  const Json list = Json::parse(PeopleListCommand{true}.run(context()).output);
  EXPECT_EQ(list[0]["appears"], true);
  EXPECT_EQ(list[1]["appears"], false);
}

TEST_F(PeopleCommands, SuggestsWhomOneWritesWithMostAndWhoIsNobodyYet) {
  chat("+15551234567", 9, 9);
  chat("+33612345678", 3, 4);
  chat("ada@example.org", 1, 1);
  chat("22456", 5, 5);
  chat("+33699999999", 0, 8);
  _store.addMessage(_store.addChat({"+33611111111", "+33622222222"}), instantAtSeconds(CompanionWorld::kNow), true,
                    "x");
  _world.writePeople({CompanionWorld::anna()});
  const std::string output = PeopleSuggestCommand{20, true}.run(context()).output;
  const Json found = Json::parse(output);
  ASSERT_EQ(found.size(), 2U) << output;
  EXPECT_EQ(found[0]["handle"], "+33612345678");
  EXPECT_EQ(found[0]["sent"], 3);
  EXPECT_EQ(found[0]["received"], 4);
  EXPECT_EQ(found[1]["handle"], "ada@example.org");
  EXPECT_THAT(output, Not(HasSubstr("secret")));
}

}  // namespace
}  // namespace pellora
