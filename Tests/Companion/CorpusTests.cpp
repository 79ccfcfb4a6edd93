// Address books as programs and services write them (Corpus/), and what must come out of each: next to NAME.vcf lies
// NAME.out, with a line "country XX" where the import is told one, a line "First name: numbers, addresses" per person
// and a line "- entry: reason" per skipped entry.
#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "Companion/People/PeopleParser.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/Sanitizers.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string told(const ImportedPeople& read) {
  std::string text = read.problem ? "problem: " + *read.problem + "\n" : "";
  for (const ImportedPerson& person : read.people) {
    std::string handles;
    for (const auto* each : {&person.phones, &person.emails})
      for (const std::string& handle : *each) handles += (handles.empty() ? "" : ", ") + handle;
    text += person.firstName + ": " + handles + "\n";
  }
  for (const SkippedEntry& entry : read.skipped) text += "- " + entry.entry + ": " + entry.reason + "\n";
  return text;
}

std::size_t checkFolder(const char* name) {
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(fs::path(PELLORA_IMPORT_CORPUS) / name)) {
    if (entry.path().extension() == ".out") continue;
    ++count;
    std::string expected = support::contentOf(fs::path(entry.path()).replace_extension(".out"));
    PhoneNumbers::Hints hints;
    if (expected.starts_with("country ")) {
      hints.country = expected.substr(8, 2);
      expected.erase(0, expected.find('\n') + 1);
    }
    EXPECT_EQ(told(support::readPeople(support::contentOf(entry.path()), hints)), expected) << entry.path().filename();
  }
  return count;
}

TEST(ImportCorpus, VCards) {
  EXPECT_GE(checkFolder("vcards"), 40U);
}

TEST(ImportCorpus, Tables) {
  EXPECT_GE(checkFolder("tables"), 40U);
}

TEST(CsvColumns, SaysWhichColumnsItUsedAndWhichNot) {
  const ImportedPeople read = parsePeople("Name,Birthday,Phone,Shoe size\nAda,10 Dec,+493012345678,38\n");
  EXPECT_THAT(read.usedColumns, ElementsAre("Name", "Phone"));
  EXPECT_THAT(read.unusedColumns, ElementsAre("Birthday", "Shoe size"));
}

TEST(LdifPeople, ReadsEntriesOfMailProgramsAndDirectories) {
  const ImportedPeople read = support::readPeople(
      "version: 1\n# a comment\n\ndn: cn=Ada Lovelace,mail=ada@example.org\nobjectclass: top\nobjectclass: person\n"
      "cn: Ada Lovelace\ngivenName: Ada\nsn: Lovelace\nmail: ada@exam\n ple.org\nmobile: +49 30 12345678\n"
      "facsimileTelephoneNumber: +49 30 999999\n\ndn:: Y249SsO2cmc=\ncn:: SsO2cmcgTcO8bGxlcg==\nhomePhone: +49 171 "
      "1234567\n\n"
      "dn: cn=Friends\nobjectclass: groupOfNames\ncn: Friends\n");
  EXPECT_EQ(read.format, ImportedPeople::Format::ldif);
  EXPECT_EQ(told(read), "Ada: 3012345678, ada@example.org\nJörg: 1711234567\n- Friends: a group, not a person\n");
}

TEST(JCards, AreReadAloneAndInAList) {
  const std::string card =
      R"(["vcard",[["version",{},"text","4.0"],["fn",{},"text","Ada Lovelace"],["n",{},"text",["Lovelace","Ada","","",""]],
         ["tel",{"type":["cell","voice"]},"uri","tel:+49-30-12345678;ext=3"],["tel",{"type":"fax"},"text","+49 30 999999"],
         ["email",{},"text","ada@example.org"]]])";
  for (const std::string& text : {card, "[" + card + "]"}) {
    const ImportedPeople read = support::readPeople(text);
    EXPECT_EQ(read.format, ImportedPeople::Format::jCard);
    EXPECT_EQ(told(read), "Ada: 3012345678, ada@example.org\n");
  }
  EXPECT_THAT(support::readPeople("[" + card + ",5]").skipped, SizeIs(1));
}

TEST(ImportedPeople, AFirstNameOfAHundredMegabytesIsRefused) {
  const std::string name((support::kUnderSanitizers ? 5 : 100) << 20, 'a');
  const ImportedPeople read = support::readPeople("First Name,Phone\n" + name + ",+493012345678\n");
  EXPECT_THAT(read.people, IsEmpty());
  EXPECT_THAT(read.skipped, ElementsAre(SkippedEntry{"line 2", "a first name of more than 200 bytes"}));
}

}  // namespace
}  // namespace pellora
