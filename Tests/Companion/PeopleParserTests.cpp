#include <gmock/gmock.h>

#include "Companion/People/PeopleParser.h"

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

TEST(PeopleParser, ReadsVCardsInUtf16) {
  std::string bytes = "\xFF\xFE";
  for (const char byte : std::string("BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=ISO-8859-1:;J")) bytes += {byte, '\0'};
  bytes += {'\xF6', '\0'};
  for (const char byte : std::string("rg;;;\r\nTEL:0301234567\r\nEND:VCARD\r\n")) bytes += {byte, '\0'};
  const ImportedPeople read = parsePeople(bytes);
  ASSERT_EQ(read.people.size(), 1U);
  EXPECT_EQ(read.people[0].firstName, "Jörg");
}

}  // namespace
}  // namespace pellora
