#include <gmock/gmock.h>

#include "Companion/People/PeopleParser.h"
#include "Tests/Companion/CompanionWorld.h"
#include "Tests/Support/Sanitizers.h"

namespace pellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Texts = std::vector<std::string>;

std::string card(const std::string& lines, const std::string& version = "3.0") {
  return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "END:VCARD\r\n";
}

struct Dialect {
  const char* what;
  std::string text;
  std::string firstName;
  Texts phones;
  Texts emails;
};

// One person each, as address books write them.
const Dialect kDialects[] = {
    {"plain 3.0",
     card("N:Smith;Anna;;;\r\nFN:Anna Smith\r\nTEL;TYPE=CELL:+1 (555) 123-4567\r\nEMAIL:A@X.org\r\n"),
     "Anna",
     {"5551234567"},
     {"a@x.org"}},
    {"grouped properties",
     card("N:S;Anna;;;\nitem1.TEL;type=pref:5551234567\nitem1.X-ABLabel:_$!<Mobile>!$_\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"lower case names",
     "begin:vcard\nversion:3.0\nn:S;Anna;;;\ntel:5551234567\nend:vcard\n",
     "Anna",
     {"5551234567"},
     {}},
    {"old Mac line breaks",
     "BEGIN:VCARD\rVERSION:3.0\rN:S;Anna;;;\rTEL:5551234567\rEND:VCARD\r",
     "Anna",
     {"5551234567"},
     {}},
    {"folded with a space",
     card("N:S;An\r\n na;;;\r\nEMAIL:anna.\r\n smith@x.org\r\n"),
     "Anna",
     {},
     {"anna.smith@x.org"}},
    {"folded with a tab", card("N:S;Anna;;;\nEMAIL:anna.\n\tsmith@x.org\n"), "Anna", {}, {"anna.smith@x.org"}},
    {"folded inside a UTF-8 sequence",
     card("N:S;J\xC3\r\n \xB6rg;;;\r\nTEL:5551234567\r\n"),
     "Jörg",
     {"5551234567"},
     {}},
    {"folded in the middle of the parameters",
     card("N:S;Anna;;;\r\nTEL;TYPE=CE\r\n LL:5551234567\r\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"2.1 quoted-printable in UTF-8",
     card("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=B6rg;;;\r\nTEL;HOME;VOICE:0301234567\r\n", "2.1"),
     "Jörg",
     {"0301234567"},
     {}},
    {"2.1 soft line breaks",
     card("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=4D=C3=BC;=4A=C3=\r\n=B6=72=67;;;\r\nTEL;CELL:0301234567\r\n",
          "2.1"),
     "Jörg",
     {"0301234567"},
     {}},
    {"2.1 bare encoding",
     card("N;QUOTED-PRINTABLE;CHARSET=ISO-8859-1:M=FCller;J=F6rg;;;\nTEL;CELL:0301234567\n", "2.1"),
     "Jörg",
     {"0301234567"},
     {}},
    {"2.1 raw Latin-1, declared",
     card("N;CHARSET=ISO-8859-1:M\xFCller;J\xF6rg;;;\nTEL;CELL:0301234567\n", "2.1"),
     "Jörg",
     {"0301234567"},
     {}},
    {"raw Windows-1252, not declared",
     card("N:M\xFCller;Jos\xE9;;;\nTEL;CELL:0301234567\n", "2.1"),
     "José",
     {"0301234567"},
     {}},
    {"Windows-1252 quoted-printable",
     card("N;ENCODING=QUOTED-PRINTABLE;CHARSET=Windows-1252:S;=8Aime;;;\nTEL:0301234567\n", "2.1"),
     "Šime",
     {"0301234567"},
     {}},
    {"Shift JIS, declared",
     card("N;CHARSET=SHIFT_JIS;ENCODING=QUOTED-PRINTABLE:=8E=52;=91=BE=98=59;;;\nTEL:0312345678\n", "2.1"),
     "太郎",
     {"0312345678"},
     {}},
    {"quoted-printable without end before END",
     card("TEL:0301234567\nN;ENCODING=QUOTED-PRINTABLE:S;Anna;;;=\n", "2.1"),
     "Anna",
     {"0301234567"},
     {}},
    {"a soft break at the end of the card",
     card("TEL:0301234567\nFN;ENCODING=QUOTED-PRINTABLE:Anna=\n", "2.1"),
     "Anna",
     {"0301234567"},
     {}},
    {"4.0 links as values",
     card("N:S;Anna;;;\nTEL;VALUE=uri;PREF=1;TYPE=\"voice,home\":tel:+1-555-123-4567;ext=102\n"
          "EMAIL;VALUE=uri:mailto:a@x.org\n",
          "4.0"),
     "Anna",
     {"5551234567"},
     {"a@x.org"}},
    {"a quoted parameter with colon and semicolon",
     card("N:S;Anna;;;\nTEL;X-L=\"a:b;c\":5551234567\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"several numbers and addresses",
     card("N:S;Anna;;;\nTEL:5551234567\nTEL:+49 30 1234567\nTEL:(555) 123-4567\nEMAIL:a@x.org\nEMAIL:b@x.org\n"),
     "Anna",
     {"5551234567", "9301234567"},
     {"a@x.org", "b@x.org"}},
    {"escaped comma in the given name",
     card("N:Smith;Anna\\, Maria;;;\nTEL:5551234567\n"),
     "Anna, Maria",
     {"5551234567"},
     {}},
    {"escaped semicolon in the family name",
     card("N:Smith\\;Jones;Anna;;;\nTEL:5551234567\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"escaped backslash and line break",
     card("N:S;An\\\\na\\nMaria;;;\nTEL:5551234567\n"),
     "An\\na Maria",
     {"5551234567"},
     {}},
    {"two given names keep together", card("N:Smith;Mary Ann;;;\nTEL:5551234567\n"), "Mary Ann", {"5551234567"}, {}},
    {"an empty N falls back on FN", card("N:;;;;\nFN:Anna Smith\nTEL:5551234567\n"), "Anna", {"5551234567"}, {}},
    {"no N at all", card("FN:Anna Smith\nTEL:5551234567\n", "4.0"), "Anna", {"5551234567"}, {}},
    {"only a nickname", card("NICKNAME:Annie\nTEL:5551234567\n"), "Annie", {"5551234567"}, {}},
    {"a family name only", card("N:Smith;;;;\nTEL:5551234567\n"), "Smith", {"5551234567"}, {}},
    {"a picture in between",
     card("N:S;Anna;;;\nPHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQ\n SkZJRgABAQ\n AAAQ==\nTEL:5551234567\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"a 2.1 picture without folding",
     card("N:S;Anna;;;\r\nPHOTO;ENCODING=BASE64;JPEG:\r\n/9j/4AAQ\r\nSkZJRgABAQ==\r\n\r\nTEL:5551234567\r\n", "2.1"),
     "Anna",
     {"5551234567"},
     {}},
    {"an agent's card inside",
     card("N:S;Anna;;;\nAGENT:\nBEGIN:VCARD\nVERSION:2.1\nN:Bot;Bob;;;\nTEL:5550000000\nEND:VCARD\nTEL:5551234567\n",
          "2.1"),
     "Anna",
     {"5551234567"},
     {}},
    {"an agent on one line",
     card("N:S;Anna;;;\nAGENT:BEGIN:VCARD\\nFN:Bob\\nTEL:5550000000\\nEND:VCARD\\n\nTEL:5551234567\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"a work address with the person",
     card("N:S;Anna;;;\nORG:Acme\\, Inc.;Sales\nTEL:5551234567\n"),
     "Anna",
     {"5551234567"},
     {}},
    {"an address in a number's place", card("N:S;Anna;;;\nTEL:anna2@x.org\n"), "Anna", {}, {"anna2@x.org"}},
    {"a number with pause and extension",
     card("N:S;Anna;;;\nTEL:+1 555 123 4567,,89\nTEL:555 987 6543 x12\n"),
     "Anna",
     {"5551234567", "5559876543"},
     {}},
    {"spaces around the frame", "BEGIN: VCARD \nN:S;Anna;;;\nTEL:5551234567\nEND:VCARD \n", "Anna", {"5551234567"}, {}},
    {"no end, next card follows none", "BEGIN:VCARD\nN:S;Anna;;;\nTEL:5551234567\n", "Anna", {"5551234567"}, {}},
};

TEST(VCardPeople, ReadsTheDialectsOfTheCommonAddressBooks) {
  for (const Dialect& dialect : kDialects) {
    SCOPED_TRACE(dialect.what);
    const ImportedPeople read = support::readPeople(dialect.text);
    EXPECT_EQ(read.problem, std::nullopt);
    EXPECT_EQ(read.format, ImportedPeople::Format::vCard);
    ASSERT_THAT(read.people, SizeIs(1));
    EXPECT_EQ(read.people[0].firstName, dialect.firstName);
    EXPECT_EQ(read.people[0].phones, dialect.phones);
    EXPECT_EQ(read.people[0].emails, dialect.emails);
  }
}

TEST(VCardPeople, DialectsComeThroughWithAByteOrderMarkToo) {
  for (const Dialect& dialect : kDialects) {
    SCOPED_TRACE(dialect.what);
    EXPECT_THAT(support::readPeople("\xEF\xBB\xBF" + dialect.text).people, SizeIs(1));
  }
}

struct Skipped {
  const char* what;
  std::string text;
  SkippedEntry skipped;
};

const Skipped kSkipped[] = {
    {"an organization",
     card("FN:Acme Inc.\nN:;;;;\nORG:Acme Inc.\nTEL:5551234567\n"),
     {"Acme Inc.", "an organization, not a person"}},
    {"an organization with KIND",
     card("KIND:org\nFN:Acme\nTEL:5551234567\n", "4.0"),
     {"Acme", "an organization, not a person"}},
    {"shown as a company",
     card("FN:Acme\nN:;;;;\nX-ABShowAs:COMPANY\nTEL:5551234567\n"),
     {"Acme", "an organization, not a person"}},
    {"a group", card("KIND:group\nFN:Friends\nMEMBER:urn:uuid:1\n", "4.0"), {"Friends", "a group, not a person"}},
    {"an older group", card("X-ADDRESSBOOKSERVER-KIND:group\nFN:Friends\n"), {"Friends", "a group, not a person"}},
    {"no number or address",
     card("FN:Anna Smith\nN:Smith;Anna;;;\n"),
     {"Anna Smith", "no phone number or e-mail address"}},
    {"a number without digits", card("N:;Anna;;;\nTEL:unknown\n"), {"Anna", "no phone number or e-mail address"}},
    {"no name", card("TEL:5551234567\n"), {"card 1", "no name"}},
    {"cut off", "BEGIN:VCARD\nN:;Anna;;;\nTEL:55512", {"Anna", "the file ends in the middle of this card"}},
};

TEST(VCardPeople, SkipsWhatIsNoPersonAndSaysWhy) {
  for (const Skipped& example : kSkipped) {
    SCOPED_TRACE(example.what);
    const ImportedPeople read = support::readPeople(example.text);
    EXPECT_THAT(read.people, IsEmpty());
    EXPECT_THAT(read.skipped, ElementsAre(example.skipped));
  }
}

TEST(VCardPeople, ReadsSeveralCardsInTheFilesOrder) {
  const ImportedPeople read =
      support::readPeople(card("N:;Anna;;;\nTEL:5551234567\n") + "\r\n" + card("N:;Bob;;;\nTEL:5559876543\n"));
  ASSERT_THAT(read.people, SizeIs(2));
  EXPECT_EQ(read.people[0].firstName, "Anna");
  EXPECT_EQ(read.people[1].firstName, "Bob");
}

TEST(VCardPeople, TakesACardWhoseEndIsMissingBeforeTheNext) {
  const ImportedPeople read =
      support::readPeople("BEGIN:VCARD\nN:;Anna;;;\nTEL:5551234567\n" + card("N:;Bob;;;\nTEL:5559876543\n"));
  EXPECT_THAT(read.people, SizeIs(2));
}

TEST(VCardPeople, KeepsTheCardsIdentifier) {
  const ImportedPeople read =
      support::readPeople(card("UID:urn:uuid:6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10\nN:;Anna;;;\nTEL:5551234567\n"));
  ASSERT_THAT(read.people, SizeIs(1));
  EXPECT_EQ(read.people[0].uid, "urn:uuid:6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10");
}

TEST(VCardPeople, ManyFoldedLinesAndNumbersTakeLinearTime) {
  std::string text = "BEGIN:VCARD\nN:;Anna;;;\nPHOTO";
  for (int line = 0; line < 20'000; ++line) text += "\n AAAAAAAAAAAAAAAA";
  for (int line = 0; line < 10'000; ++line) text += "\nTEL:" + std::to_string(5'550'000'000 + line);
  const ImportedPeople read = support::readPeople(text + "\nEND:VCARD\n");
  ASSERT_THAT(read.people, SizeIs(1));
  EXPECT_THAT(read.people[0].phones, SizeIs(10'000));
}

TEST(VCardPeople, EveryTruncationIsReadWithoutHarm) {
  for (const Dialect& dialect : kDialects)
    for (std::size_t length = 0; length < dialect.text.size(); ++length)
      EXPECT_LE(support::readPeople(dialect.text.substr(0, length)).people.size(), 2U);
}

TEST(VCardPeople, EveryChangedByteIsReadWithoutHarm) {
  const std::size_t step = support::kUnderSanitizers ? 7 : 1;
  for (const Dialect& dialect : kDialects)
    for (std::size_t position = 0; position < dialect.text.size(); position += step)
      for (const char byte : {'\n', '=', '"', '\xFF'}) {
        std::string text = dialect.text;
        text[position] = byte;
        EXPECT_LE(support::readPeople(text).people.size(), 2U);
      }
}

}  // namespace
}  // namespace pellora
