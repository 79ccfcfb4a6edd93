#include <gmock/gmock.h>

#include "Companion/People/PeopleParser.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {

namespace {

using Format = ImportedPeople::Format;

TEST(PeopleParser, TellsTheFormatsApartByContent) {
  EXPECT_EQ(parsePeople("  \n[]").format, Format::json);
  EXPECT_EQ(parsePeople("\n\nBEGIN:VCARD\nEND:VCARD").format, Format::vCard);
  EXPECT_EQ(parsePeople("some words first\nBEGIN:VCARD\nFN:A\nTEL:5551234567\nEND:VCARD\n").format, Format::vCard);
  EXPECT_EQ(parsePeople("Name,Phone\nBEGIN,5551234567\n").format, Format::csv);
}

TEST(PeopleParser, SaysSoWhenThereIsNothing) {
  for (const char* text : {"", " \r\n\t", "\xEF\xBB\xBF", "\xEF\xBB\xBF\n"})
    EXPECT_EQ(parsePeople(text).problem, "The file is empty.");
}

TEST(PeopleParser, RefusesBinaryFiles) {
  EXPECT_TRUE(parsePeople(std::string_view("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16)).problem.has_value());
  EXPECT_TRUE(parsePeople(std::string(1000, '\0')).problem.has_value());
  EXPECT_TRUE(parsePeople("\xFF\xFE").problem.has_value());
  EXPECT_TRUE(parsePeople("\xFF\xD8\xFF\xE0JFIF").problem.has_value());
}

TEST(PeopleParser, ReadsFilesThatWerePutTogetherEachWithItsMark) {
  const auto card = [](const std::string& name) {
    return "\xEF\xBB\xBF"
           "BEGIN:VCARD\r\nFN:" +
           name + "\r\nTEL:030123456" + std::to_string(name.size()) + "\r\nEND:VCARD\r\n";
  };
  EXPECT_EQ(parsePeople(card("Ada") + card("Anna")).people.size(), 2U);
}

TEST(PeopleParser, ReadsVCardsInUtf16) {
  std::string bytes = "\xFF\xFE";
  for (const char byte : std::string("BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=ISO-8859-1:;J")) bytes += {byte, '\0'};
  bytes += {'\xF6', '\0'};
  for (const char byte : std::string("rg;;;\r\nTEL:0301234567\r\nEND:VCARD\r\n")) bytes += {byte, '\0'};
  const ImportedPeople read = parsePeople(bytes);
  ASSERT_EQ(read.people.size(), 1U);
  EXPECT_EQ(read.people[0].firstName, "Jörg");
}

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct Accepted {
  const char* json;
  ImportedPerson person;
};

const Accepted kAccepted[] = {
    {R"([{"firstName":"Anna","phones":["+1 (555) 123-4567"],"emails":["A@X.org"]}])",
     {"Anna", "Anna", "", {"5551234567"}, {"a@x.org"}}},
    {R"({"people":[{"firstName":"Anna","phones":["5551234567"],"emails":[]}]})",
     {"Anna", "Anna", "", {"5551234567"}, {}}},
    {R"([{"id":"x","firstName":"Anna","phones":["5551234567"]}])", {"Anna", "Anna", "x", {"5551234567"}, {}}},
    {R"([{"name":"Anna Smith","phone":"5551234567"}])", {"Anna Smith", "Anna", "", {"5551234567"}, {}}},
    {R"([{"firstName":"","phones":["5551234567"]}])", {"item 1", "", "", {"5551234567"}, {}}},
    {R"([{"firstName":" An\u0007na\n","emails":["a@x.org","A@x.org","none"]}])",
     {"An na", "An na", "", {}, {"a@x.org"}}},
    {R"( [{"firstName":"Anna","phones":null,"email":"a@x.org","other":[{}]}] )", {"Anna", "Anna", "", {}, {"a@x.org"}}},
};

TEST(JsonPeople, ReadsAListAndAnObjectWithTheList) {
  for (const Accepted& accepted : kAccepted) {
    SCOPED_TRACE(accepted.json);
    const ImportedPeople read = support::readPeople(accepted.json);
    EXPECT_EQ(read.problem, std::nullopt);
    EXPECT_THAT(read.people, ElementsAre(accepted.person));
    EXPECT_THAT(read.skipped, IsEmpty());
  }
}

TEST(JsonPeople, SkipsWhatIsNoPersonAndSaysWhy) {
  const ImportedPeople read = support::readPeople(
      R"([5, {"phones":["5551234567"]}, {"firstName":"Anna"}, {"firstName":"Bob","phones":[5551234567]},
          {"firstName":"Carl","phones":{"home":"5551234567"}}, {"firstName":7,"phones":["5551234567"]}])");
  EXPECT_THAT(read.people, IsEmpty());
  EXPECT_THAT(read.skipped, ElementsAre(SkippedEntry{"item 1", "not an object"}, SkippedEntry{"item 2", "no name"},
                                        SkippedEntry{"Anna", "no phone number or e-mail address"},
                                        SkippedEntry{"Bob", "phones and emails must be lists of texts"},
                                        SkippedEntry{"Carl", "phones and emails must be lists of texts"},
                                        SkippedEntry{"item 6", "no name"}));
}

TEST(JsonPeople, RefusesWhatIsNotWellFormedOrNoList) {
  for (const char* json :
       {"[", "[1,]", "{", "{}", R"({"people":5})", R"({"people":{}})", "[{]", "[\"\xFF\"", "[] []"}) {
    SCOPED_TRACE(json);
    const ImportedPeople read = support::readPeople(json);
    EXPECT_TRUE(read.problem.has_value());
    EXPECT_THAT(read.people, IsEmpty());
  }
}

TEST(JsonPeople, DeepNestingDoesNoHarm) {
  const std::string open(200'000, '[');
  EXPECT_TRUE(support::readPeople(open).problem.has_value());
  EXPECT_TRUE(support::readPeople(open + std::string(200'000, ']')).problem.has_value());
}

TEST(JsonPeople, AnEmptyListIsNobody) {
  const ImportedPeople read = support::readPeople("[]");
  EXPECT_EQ(read.problem, std::nullopt);
  EXPECT_THAT(read.people, IsEmpty());
}

}  // namespace

}  // namespace pellora
