#include <gmock/gmock.h>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/PeopleParser.h"
#include "Tests/Companion/CompanionWorld.h"

namespace pellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Texts = std::vector<std::string>;

struct Table {
  const char* what;
  std::string text;
  std::string firstName;
  Texts phones;
  Texts emails;
};

const Table kTables[] = {
    {"plain", "First Name,Phone,Email\nAnna,+1 (555) 123-4567,A@X.org\n", "Anna", {"5551234567"}, {"a@x.org"}},
    {"with a byte order mark and CRLF",
     "\xEF\xBB\xBF"
     "First Name,Phone\r\nAnna,5551234567\r\n",
     "Anna",
     {"5551234567"},
     {}},
    {"without a last line break", "First Name,Phone\nAnna,5551234567", "Anna", {"5551234567"}, {}},
    {"semicolons",
     "Vorname;Nachname;Mobil;E-Mail\nJörg;Müller;0171 1234567;j@x.de\n",
     "Jörg",
     {"1711234567"},
     {"j@x.de"}},
    {"a full name turned around a semicolon", "Name;Phone\n\"Müller; Anna\";5551234567\n", "Anna", {"5551234567"}, {}},
    {"a full name turned, with a title and a degree",
     "Name;Phone\n\"Lovelace, Dr., Ada, PhD\";5551234567\n",
     "Ada",
     {"5551234567"},
     {}},
    {"a full name with degrees", "Name;Phone\n\"Ada Lovelace, PhD, FRS\";5551234567\n", "Ada", {"5551234567"}, {}},
    {"a full name with nothing after its comma", "Name;Phone\n\"Ada,\";5551234567\n", "Ada", {"5551234567"}, {}},
    {"tabs", "name\tphone\nAnna Smith\t5551234567\n", "Anna", {"5551234567"}, {}},
    {"a separator hint", "sep=;\r\nName;Phone\r\nAnna;5551234567\r\n", "Anna", {"5551234567"}, {}},
    {"everything quoted", "\"First Name\",\"Phone\"\n\"Anna\",\"5551234567\"\n", "Anna", {"5551234567"}, {}},
    {"quoted separators, quotes and line breaks",
     "Notes,First Name,Phone\n\"a, \"\"b\"\"\nc\",Anna,5551234567\n",
     "Anna",
     {"5551234567"},
     {}},
    {"a quote inside an unquoted field",
     "First Name,Notes,Phone\nAnna,5\" tall,5551234567\n",
     "Anna",
     {"5551234567"},
     {}},
    {"numbered columns of a web address book",
     "Name,Given Name,Family Name,E-mail 1 - Type,E-mail 1 - Value,Phone 1 - Type,Phone 1 - Value,Phone 2 - Type,Phone "
     "2 - Value\n"
     "Mary Ann Smith,Mary Ann,Smith,* Home,m@x.org,Mobile,5551234567 ::: 5559876543,Work,\n",
     "Mary Ann",
     {"5551234567", "5559876543"},
     {"m@x.org"}},
    {"columns of an office program",
     "First Name,Last Name,Company,Home Phone,Mobile Phone,Assistant's Phone,E-mail Address,E-mail Display Name,E-mail "
     "2 Address\n"
     "Anna,Smith,Acme,5551234567,5559876543,5550000000,a@x.org,Anna <a@x.org>,b@x.org\n",
     "Anna",
     {"5551234567", "5559876543"},
     {"a@x.org", "b@x.org"}},
    {"columns of a mail program",
     "First Name,Last Name,Display Name,Nickname,Primary Email,Secondary Email,Screen Name,Work Phone,Fax "
     "Number,Mobile Number\n"
     "Anna,Smith,Anna Smith,,a@x.org,,,5551234567,5550000000,5559876543\n",
     "Anna",
     {"5551234567", "5559876543"},
     {"a@x.org"}},
    {"camel and snake case",
     "first_name,phoneNumber,emailAddress\nAnna,5551234567,a@x.org\n",
     "Anna",
     {"5551234567"},
     {"a@x.org"}},
    {"French headings", "Prénom,Téléphone mobile,Courriel\nZoé,0612345678,z@x.fr\n", "Zoé", {"0612345678"}, {"z@x.fr"}},
    {"decomposed headings", "Pre\xCC\x81nom,Tel\nZoé,0612345678\n", "Zoé", {"0612345678"}, {}},
    {"short words", "Name,Tel.,Mail\nAnna Smith,5551234567,a@x.org\n", "Anna", {"5551234567"}, {"a@x.org"}},
    {"Windows-1252", "Vorname;Telefon\nJ\xF6rg;0301234567\n", "Jörg", {"0301234567"}, {}},
    {"a nickname instead of a name", "First Name,Nickname,Phone\n,Annie,5551234567\n", "Annie", {"5551234567"}, {}},
    {"several addresses in one field", "Name,Email\nAnna,a@x.org; b@x.org\n", "Anna", {}, {"a@x.org", "b@x.org"}},
    {"empty lines in between", "Name,Phone\n\n,\nAnna,5551234567\n\n", "Anna", {"5551234567"}, {}},
    {"columns about columns are no values",
     "Name,Phone Type,Phone\nAnna,5550000000,5551234567\n",
     "Anna",
     {"5551234567"},
     {}},
};

TEST(CsvPeople, ReadsTheTablesOfTheCommonAddressBooks) {
  for (const Table& table : kTables) {
    SCOPED_TRACE(table.what);
    const ImportedPeople read = support::readPeople(table.text);
    EXPECT_EQ(read.problem, std::nullopt);
    EXPECT_EQ(read.format, ImportedPeople::Format::csv);
    EXPECT_THAT(read.skipped, IsEmpty());
    ASSERT_THAT(read.people, SizeIs(1));
    EXPECT_EQ(read.people[0].firstName, table.firstName);
    EXPECT_EQ(read.people[0].phones, table.phones);
    EXPECT_EQ(read.people[0].emails, table.emails);
  }
}

TEST(CsvPeople, ReadsUtf16WithAndWithoutAByteOrderMark) {
  const std::string text = "Name,Phone\nAnna,5551234567\n";
  std::string little;
  std::string big;
  for (const char byte : text) {
    little += {byte, '\0'};
    big += {'\0', byte};
  }
  for (const std::string& bytes : {"\xFF\xFE" + little, "\xFE\xFF" + big, little, big, "\xFF\xFE\xFF\xFE" + little})
    EXPECT_THAT(support::readPeople(bytes).people, SizeIs(1));
}

TEST(CsvPeople, ReadsUtf16WithoutAMarkThatBeginsOutsideAscii) {
  std::string little;
  std::string big;
  // A quote is what some readers would take for the second byte of a pair.
  for (const char16_t unit : std::u16string_view(u"Имя,Телефон\nАнна,5551234567\n\"Катя\",5551234568\n")) {
    little += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    big += {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
  }
  for (const std::string& bytes : {little, big}) {
    const ImportedPeople read = support::readPeople(bytes);
    ASSERT_THAT(read.people, SizeIs(2));
    EXPECT_EQ(read.people[0].firstName, "Анна");
  }
}

TEST(CsvPeople, ATableWithAStrayZeroIsRefusedAndNotTakenForUtf16) {
  for (const std::size_t at : {34, 35}) {
    std::string text = "Name,Phone,Note\nAnna,5551234567,-------\n";
    text[at] = '\0';
    ASSERT_EQ(text.size() % 2, 0U);
    EXPECT_EQ(support::readPeople(text).problem, "The file is neither a JSON list nor a table nor vCards.");
  }
}

// So that a line of very many fields is read in bounded time.
TEST(CsvPeople, AColumnFarToTheRightMeansNothing) {
  for (const auto& [before, isRead] : {std::pair{499, true}, std::pair{500, false}}) {
    std::string headings = "Name";
    std::string row = "Anna";
    for (int column = 1; column < before; ++column) headings += ",", row += ",";
    const ImportedPeople read = support::readPeople(headings + ",Phone\n" + row + ",5551234567\n");
    EXPECT_EQ(read.people.size(), isRead ? 1U : 0U) << before << " columns before it";
  }
}

// Headings of languages that the tables above leave out.
const char* const kFirstNames[] = {"Nama depan", "Nama pertama", "Tên",      "Krstné meno",   "Собствено име",
                                   "Fornafn",    "Eiginnafn",    "पहला नाम", "Jina la kwanza"};
const char* const kFamilyNames[] = {"Nama belakang", "Họ",        "Priezvisko", "Prezime",       "Презиме",  "Priimek",
                                    "Фамилно име",   "Uzvārds",   "Pavardė",    "Perekonnanimi", "Perenimi", "นามสกุล",
                                    "نام خانوادگی",  "Kenninafn", "उपनाम",      "Cognom",        "Cognoms"};
const char* const kFullNames[] = {
    "Nama", "Nama lengkap",  "Họ và tên", "Họ tên",         "Meno", "Ime",        "Ime i prezime", "Ime in priimek",
    "Име",  "Име и фамилия", "Vārds",     "Vārds, uzvārds", "Nafn", "Fullt nafn", "نام",           "نام و نام خانوادگی",
    "नाम",  "पूरा नाम",       "Jina",      "Jina kamili"};
const char* const kPhones[] = {"Điện thoại",      "Di động",        "Nomor Telepon", "Ponsel", "Mobitel",
                               "تلفن همراه",      "موبایل",         "Telèfon mòbil", "Sími",   "Símanúmer",
                               "Tālrunis",        "Tālruņa numurs", "फोन",           "फ़ोन",    "मोबाइल नंबर",
                               "Simu ya mkononi", "No. HP"};

TEST(CsvPeople, KnowsTheHeadingsOfManyLanguages) {
  const auto read = [](const std::string& headings, const std::string& row) {
    const ImportedPeople people = support::readPeople(headings + "\n" + row + "\n");
    return people.people.size() == 1 ? people.people[0].firstName + ": " + people.people[0].phones.at(0) : "nobody";
  };
  for (const std::string heading : kFirstNames)
    EXPECT_EQ(read(heading + ";Phone", "Anna Maria;5551234567"), "Anna Maria: 5551234567") << heading;
  for (const std::string heading : kFamilyNames)
    EXPECT_EQ(read("Name;" + heading + ";Phone", "Anna Maria;Smith;5551234567"), "Anna Maria: 5551234567") << heading;
  for (const std::string heading : kFullNames)
    EXPECT_EQ(read("\"" + heading + "\";Phone", "Anna Smith;5551234567"), "Anna: 5551234567") << heading;
  for (const std::string heading : kPhones)
    EXPECT_EQ(read("Name;" + heading, "Anna Smith;5551234567"), "Anna: 5551234567") << heading;
}

struct Encoded {
  const char* what;
  std::string bytes;
  const char* firstName;
};

// As spreadsheets of these countries save them.
const Encoded kEncoded[] = {
    {"Windows-1251", "\xC8\xEC\xFF;\xD2\xE5\xEB\xE5\xF4\xEE\xED\n\xC0\xED\xED\xE0;5551234567\n", "Анна"},
    {"KOI8", "\xE9\xCD\xD1;\xF4\xC5\xCC\xC5\xC6\xCF\xCE\n\xE1\xCE\xCE\xC1;5551234567\n", "Анна"},
    {"Windows-1250", "Imi\xEA;Telefon\nMa\xB3gosia;5551234567\n", "Małgosia"},
    {"Windows-1253", "\xBC\xED\xEF\xEC\xE1;\xD4\xE7\xEB\xDD\xF6\xF9\xED\xEF\n\xC1\xED\xED\xE1;5551234567\n", "Αννα"},
    {"Windows-1254", "Ad\xFD;Telefon\nI\xFE\xFDl;5551234567\n", "Işıl"},
    {"Windows-1255", "\xF9\xED \xF4\xF8\xE8\xE9;\xE8\xEC\xF4\xE5\xEF\n\xF0\xF2\xEE\xE9;5551234567\n", "נעמי"},
    {"Shift_JIS", "\x96\xBC,\x93\x64\x98\x62\n\x94\xFC\x8A\x7C,5551234567\n", "美掛"},
    {"GB18030", "\xC3\xFB\xD7\xD6,\xB5\xE7\xBB\xB0\n\xD0\xA1\xC3\xF7,5551234567\n", "小明"},
    {"Big5", "\xA6W\xA6r,\xB9q\xB8\xDC\n\xA4p\xA9\xFA,5551234567\n", "小明"},
    {"Windows-949", "\xC0\xCC\xB8\xA7,\xC0\xFC\xC8\xAD\n\xC1\xF6\xBF\xEC,5551234567\n", "지우"},
    {"Windows-1252 with a letter that only a few have", "Pr\xE9nom;T\xE9l\xE9phone\nZo\xEB;5551234567\n", "Zoë"},
};

TEST(CsvPeople, TheHeadingsTellTheCharset) {
  for (const Encoded& each : kEncoded) {
    SCOPED_TRACE(each.what);
    for (const char* usual : {foreign_text::kWestern, "windows-1251"}) {
      const ImportedPeople read = parsePeople(each.bytes, usual);
      ASSERT_THAT(read.people, SizeIs(1));
      EXPECT_EQ(read.people[0].firstName, each.firstName);
    }
  }
}

TEST(CsvPeople, WhereTheHeadingsDoNotTellTheUsualCharsetCounts) {
  const std::string table = "Name,Phone\n\xC0\xED\xED\xE0,5551234567\n";
  const std::string card = "BEGIN:VCARD\nFN:\xC0\xED\xED\xE0\nTEL:5551234567\nEND:VCARD\n";
  for (const std::string& bytes : {table, card}) {
    EXPECT_EQ(parsePeople(bytes, "windows-1251").people.at(0).firstName, "Анна");
    EXPECT_EQ(parsePeople(bytes).people.at(0).firstName, "Àííà");
  }
}

TEST(ForeignText, EveryLocaleHasItsCharset) {
  const std::pair<const char*, const char*> kLocales[] = {
      {"ru_RU.UTF-8", "windows-1251"}, {"pl_PL", "windows-1250"},
      {"zh_CN.UTF-8", "GB18030"},      {"zh_TW", "windows-950"},
      {"ja_JP.UTF-8", "windows-31j"},  {"ko", "windows-949"},
      {"el_GR@euro", "windows-1253"},  {"tr_TR.UTF-8", "windows-1254"},
      {"he_IL", "windows-1255"},       {"ar_EG", "windows-1256"},
      {"lt_LT", "windows-1257"},       {"vi_VN", "windows-1258"},
      {"th_TH", "windows-874"},        {"de_DE.UTF-8", "windows-1252"},
      {"C.UTF-8", "windows-1252"},     {"", "windows-1252"},
      {"_RU", "windows-1252"},
  };
  for (const auto& [locale, charset] : kLocales) {
    EXPECT_STREQ(foreign_text::charsetOf(locale), charset) << locale;
    EXPECT_EQ(foreign_text::utf8("\xB0\xB1", foreign_text::charsetOf(locale)).find("\uFFFD"), std::string::npos)
        << charset << " is not known to the library";
  }
}

TEST(CsvPeople, ReadsATableWhoseMarkWasWrittenTwice) {
  const ImportedPeople read = support::readPeople("\xEF\xBB\xBF\xEF\xBB\xBFName,Phone\nAnna,5551234567\n");
  EXPECT_THAT(read.unusedColumns, IsEmpty());
  EXPECT_THAT(read.people, SizeIs(1));
}

TEST(CsvPeople, SaysWhichRowsWereSkippedAndWhy) {
  const ImportedPeople read = support::readPeople(
      "Name,Company,Phone\nAnna,,\n,Acme,5551234567\n,,5551234567\nAcme,Acme,5550000000\nBob,,5559876543\n\"Carl,,5\n");
  EXPECT_THAT(read.people, SizeIs(1));
  EXPECT_THAT(read.skipped,
              ElementsAre(SkippedEntry{"Anna", "no phone number or e-mail address"},
                          SkippedEntry{"Acme", "an organization, not a person"}, SkippedEntry{"line 4", "no name"},
                          SkippedEntry{"Acme", "an organization, not a person"},
                          SkippedEntry{"line 7", "a quote that is never closed"}));
}

TEST(CsvPeople, RefusesATableWhoseColumnsItDoesNotKnow) {
  for (const char* text : {"Anna,5551234567\n", "a,b,c\n1,2,3\n", "First Name,Last Name\nAnna,Smith\n",
                           "Phone,Email\n5551234567,a@x.org\n", "just a line of text"}) {
    SCOPED_TRACE(text);
    const ImportedPeople read = support::readPeople(text);
    EXPECT_TRUE(read.problem.has_value());
    EXPECT_THAT(read.people, IsEmpty());
  }
}

TEST(CsvPeople, EveryTruncationIsReadWithoutHarm) {
  for (const Table& table : kTables)
    for (std::size_t length = 0; length < table.text.size(); ++length)
      EXPECT_LE(support::readPeople(table.text.substr(0, length)).people.size(), 1U);
}

}  // namespace
}  // namespace pellora
