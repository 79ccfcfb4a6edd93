#include <algorithm>
#include <iterator>
#include <string_view>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactCard.h"
#include "Companion/People/PeopleParser.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

// The records of a table in text form (RFC 4180): fields between separators, quoted where they hold separators,
// quotes (doubled) or line breaks of any kind. A quote inside an unquoted field is an ordinary character. Total.
class CsvRecords {
 public:
  struct Record {
    std::size_t line = 0;  // where it begins, from 1
    std::vector<std::string> fields;
    bool hasOpenQuote = false;  // the text ended inside quotes
  };

  // The text must outlive the reader.
  CsvRecords(std::string_view text, char separator) : _text(text), _separator(separator) {}

  // Absent at the end.
  std::optional<Record> next();

 private:
  std::string takeField(Record& record);
  void takeQuoted(std::string& field, Record& record);
  bool isAtLineBreak() const { return _text[_position] == '\r' || _text[_position] == '\n'; }
  void takeLineBreak();

  std::string_view _text;
  char _separator;
  std::size_t _position = 0;
  std::size_t _line = 1;
};

// The meaning of a table's column.
enum class Column { firstName, familyName, fullName, nickname, company, uid, phone, email, mainPhone, weak, other };

struct Heading {
  std::string_view words;  // between spaces
  Column column;
};

// Whole headings, compared in lower case without spaces, digits and punctuation, in the languages of the common
// services.
constexpr Heading kWhole[] = {
    {"firstname givenname first given forename vorname rufname prénom prenom nombredepila voornaam imię imiona förnamn "
     "fornavn etunimi jméno krestníjméno keresztnév utónév primeironome primernombre prenume vardas eesnimi имя "
     "ім'я ім’я ad adı isim όνομα 名 名前名 名字 名前 이름 الاسمالأول שםפרטי ชื่อ givennameyomi "
     "namadepan namapertama tên krstnémeno собственоиме fornafn eiginnafn पहलानाम jinalakwanza",
     Column::firstName},
    {"lastname familyname surname last family nachname familienname nomdefamille cognome apellido apellidos sobrenome "
     "apelido achternaam nazwisko efternamn efternavn etternavn sukunimi příjmení prijmeni vezetéknév nume фамилия "
     "прізвище soyad soyadı soyisim επώνυμο 姓 姓氏 성 اسمالعائلة שםמשפחה "
     "namabelakang họ priezvisko prezime презиме priimek фамилноиме uzvārds pavardė perekonnanimi perenimi "
     "นามสกุล نامخانوادگی kenninafn उपनाम cognom cognoms",
     Column::familyName},
    {"name fullname displayname contactname contact person fileas nom nomcomplet nomaffiché nomd'affichage nombre "
     "nombrecompleto nome nomecompleto nomevisualizzato naam volledigenaam weergavenaam anzeigename "
     "vollständigername namn fulltnavn navn visningsnamn nimi celéjméno név teljesnév фио имяифамилия полноеимя "
     "контакт adsoyad ονοματεπώνυμο 氏名 姓名 お名前 表示名 全名 성명 الاسم שם ชื่อนามสกุล "
     "nama namalengkap họvàtên họtên meno ime imeiprezime imeinpriimek име имеифамилия vārds vārdsuzvārds "
     "nafn fulltnafn نام نامونامخانوادگی नाम पूरानाम jina jinakamili",
     Column::fullName},
    {"nickname spitzname surnom apodo alias pseudo soprannome bijnaam smeknamn kallenavn kaldenavn přezdívka pseudonim "
     "псевдоним прозвище takmaad ニックネーム 昵称 별명",
     Column::nickname},
    {"organization organizationname organisation company companyname firma entreprise société empresa azienda società "
     "ditta bedrijf företag virksomhed bedrift yritys společnost cég компания организация şirket εταιρεία 会社 会社名 "
     "公司 單位 회사 الشركة חברה organizationcompany",
     Column::company},
    {"uid id uuid contactid", Column::uid},
    {"number numbers phones nummer número numéro numero numer номер 番号 号码 번호", Column::phone},
    {"companymainphone hauptrufnummer firmahaupttelefon téléphonesociété telefonoempresa switchboard",
     Column::mainPhone},
    {"home work main other private business pager iphone casa trabajo lavoro travail domicile privat geschäftlich "
     "arbeit praca thuis werk hem arbete hjem arbejde dom",
     Column::weak},
};

// Anywhere in such a heading.
constexpr Heading kParts[] = {
    {"email courriel correo messagerie postaelettronica posteelettronica mailadres mailadresse epost eposta "
     "sähköposti электроннаяпочта электроннойпочты эл.почта элпочта адресэлпочты поштa メール 電子メール 邮箱 邮件 "
     "郵件 電郵 이메일 전자메일 البريد אימייל דואל อีเมล ηλεκτρονικήδιεύθυνση correoelectrónico",
     Column::email},
    {"phone telefon telefón teléfono telefono téléphone telefoon telefone telefonnummer mobil mobiel cellul cellphone "
     "celular handy rufnummer móvil telemóvel portable puhelin matkapuh komórk телефон мобильн мобільн сотов "
     "τηλέφωνο κινητό 電話 电话 携帯 手机 手機 전화 휴대 هاتف الجوال طلفون טלפון נייד โทรศัพท์ ceptel "
     "điệnthoại diđộng telepon ponsel mobitel تلفن موبایل telèfon sími símanúmer tālrunis tālruņa फोन फ़ोन "
     "मोबाइल",
     Column::phone},
};

// Alone between spaces, digits and punctuation.
constexpr Heading kAlone[] = {
    {"mail mails почта e-mail", Column::email},
    {"tel tél cell mobile gsm tlf tlfn тел natel simu hp", Column::phone},
};

// Headings with these hold something about a number or address, or somebody else's.
constexpr std::string_view kNotValues =
    "type typ label étiquette etichetta etiqueta phonetic yomi displayname assistant assistent spouse emergency "
    "manager referred fax telefax pager telex photo password street strasse straße rue calle ラベル";

bool isPlainLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || static_cast<unsigned char>(byte) >= 0x80;
}

std::string squashed(std::string_view lower) {
  std::string result;
  std::copy_if(lower.begin(), lower.end(), std::back_inserter(result), isPlainLetter);
  return result;
}

// Calls `test` with each word until it says yes.
template <class Test>
bool anyWord(std::string_view words, Test test) {
  while (!words.empty()) {
    const std::size_t end = words.find(' ');
    if (test(words.substr(0, end))) return true;
    words = end == std::string_view::npos ? std::string_view() : words.substr(end + 1);
  }
  return false;
}

bool hasPart(std::string_view name, std::string_view parts) {
  return anyWord(parts, [name](std::string_view part) { return name.find(part) != std::string_view::npos; });
}

bool isOneOf(std::string_view name, std::string_view words) {
  return anyWord(words, [name](std::string_view word) { return name == word || name == squashed(word); });
}

// Whether one of the heading's own words is one of these.
bool hasWord(std::string_view lower, std::string_view words) {
  std::string word;
  for (const char byte : lower) {
    if (isPlainLetter(byte)) {
      word += byte;
      continue;
    }
    if (!word.empty() && isOneOf(word, words)) return true;
    word.clear();
  }
  return !word.empty() && isOneOf(word, words);
}

Column columnOf(std::string_view heading) {
  const std::string lower =
      text::lowercased(text::canonical(text::repairedUtf8(foreign_text::onOneLine(heading.substr(0, 200)))));
  const std::string name = squashed(lower);
  if (name.empty()) return Column::other;
  for (const Heading& each : kWhole)
    if (isOneOf(name, each.words)) return each.column;
  if (hasPart(name, kNotValues)) return Column::other;
  for (const Heading& each : kParts)
    if (hasPart(name, each.words)) return each.column;
  for (const Heading& each : kAlone)
    if (hasWord(lower, each.words)) return each.column;
  return Column::other;
}

constexpr std::size_t kMostColumns = 500;  // address books have a third of that; what lies behind means nothing

// By the headings of a line that may be any text.
std::vector<Column> columnsOf(const std::vector<std::string>& headings) {
  std::vector<Column> columns(headings.size(), Column::other);
  for (std::size_t at = 0; at < std::min(headings.size(), kMostColumns); ++at) columns[at] = columnOf(headings[at]);
  return columns;
}

bool hasManyDigits(std::string_view text) {
  constexpr std::size_t kShortestNumber = 7;
  return text.find_first_not_of("0123456789+-() ./\t\n;,") == std::string_view::npos &&
         std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }) >=
             static_cast<std::ptrdiff_t>(kShortestNumber);
}

struct Table {
  std::vector<std::string> headings;
  std::vector<Column> columns;
  std::vector<CsvRecords::Record> records;

  std::size_t count(Column wanted) const {
    return static_cast<std::size_t>(std::count(columns.begin(), columns.end(), wanted));
  }
  // How many columns were recognized.
  std::size_t known() const { return columns.size() - count(Column::other) - count(Column::weak); }
  bool hasNames() const { return count(Column::firstName) + count(Column::fullName) + count(Column::nickname) > 0; }
  // Whether people can be read out of such a table.
  bool isEnough() const { return hasNames() && count(Column::phone) + count(Column::email) > 0; }

  // The meaning of columns from the cells below, where the headings do not tell: addresses in any language, and numbers
  // below headings such as "Home".
  void lookAtCells() {
    for (std::size_t at = 0; at < columns.size(); ++at) {
      if (columns[at] != Column::other && columns[at] != Column::weak) continue;
      std::size_t filled = 0;
      std::size_t addresses = 0;
      std::size_t numbers = 0;
      for (std::size_t row = 0; row < std::min(records.size(), kCellsLookedAt); ++row) {
        if (at >= records[row].fields.size()) continue;
        const std::string_view cell = text::trimmed(records[row].fields[at]);
        if (cell.empty()) continue;
        ++filled;
        if (cell.find('@') != std::string_view::npos && cell.find(' ') == std::string_view::npos) ++addresses;
        if (hasManyDigits(cell)) ++numbers;
      }
      const bool isNotOwn = hasPart(squashed(text::lowercased(headings[at])), kNotValues);
      if (filled > 0 && addresses == filled && !isNotOwn) columns[at] = Column::email;
      if (filled > 0 && numbers * 2 > filled && columns[at] == Column::weak) columns[at] = Column::phone;
    }
  }

  // A column "Name" next to one for the family's name holds the first name.
  void settleNames() {
    if (count(Column::firstName) > 0 || count(Column::familyName) == 0 || count(Column::fullName) == 0) return;
    std::replace(columns.begin(), columns.end(), Column::fullName, Column::firstName);
  }

  static constexpr std::size_t kCellsLookedAt = 50;
};

constexpr char kSeparators[] = {',', ';', '\t', '|'};
constexpr std::string_view kSeparatorHint = "sep=";  // a first line that names the separator
constexpr std::size_t kLinesBeforeHeadings = 10;     // blank ones and titles

bool isBlank(const CsvRecords::Record& record) {
  return std::all_of(record.fields.begin(), record.fields.end(),
                     [](const std::string& field) { return text::trimmed(field).empty(); });
}

// The table as this separator cuts it, its headings in the best of the first lines.
Table read(std::string_view text, char separator) {
  Table best;
  CsvRecords beginning(text, separator);
  std::size_t headingLine = 0;
  for (std::size_t line = 0; line < kLinesBeforeHeadings; ++line) {
    const auto record = beginning.next();
    if (!record) break;
    if (isBlank(*record)) continue;
    Table table;
    table.headings = record->fields;
    table.columns = columnsOf(record->fields);
    const bool isBetter = table.known() > best.known() || best.headings.empty();
    if (!isBetter) continue;
    best = std::move(table);
    headingLine = record->line;
  }
  CsvRecords records(text, separator);
  while (auto record = records.next())
    if (record->line > headingLine && !isBlank(*record)) best.records.push_back(std::move(*record));
  best.lookAtCells();
  best.settleNames();
  return best;
}

constexpr std::size_t kKnownColumn = 1000;  // one whose name is known counts more than any number of others

// How well a separator fits, by the first lines alone.
std::size_t fit(std::string_view text, char separator) {
  CsvRecords records(text, separator);
  std::size_t most = 0;
  for (std::size_t line = 0; line < kLinesBeforeHeadings; ++line) {
    const auto record = records.next();
    if (!record) break;
    const std::vector<Column> columns = columnsOf(record->fields);
    const std::size_t known = columns.size() - static_cast<std::size_t>(std::ranges::count(columns, Column::other));
    most = std::max(most, known * kKnownColumn + std::min(record->fields.size(), kKnownColumn - 1));
  }
  return most;
}

// In the order in which one is taken when another has as many columns with known names.
constexpr const char* kCharsets[] = {foreign_text::kWestern, "windows-1250", "windows-1251", "KOI8-U",
                                     "windows-1253",         "windows-1254", "windows-1255", "windows-1256",
                                     "windows-1257",         "windows-874",  "windows-31j",  "GB18030",
                                     "windows-950",          "windows-949"};
constexpr std::size_t kBytesForCharset = 4096;  // more than the headings of any address book

// The text of a table that may be in any of these charsets: its headings tell.
std::string inUtf8(std::string_view bytes, const char* usual) {
  std::string text = foreign_text::utf8(bytes, usual);
  if (text == bytes) return text;
  std::string_view beginning = bytes.substr(0, kBytesForCharset);
  beginning = beginning.substr(0, beginning.find_last_of("\r\n"));
  const auto fitIn = [&](const char* charset) {
    const std::string part = foreign_text::utf8(beginning, charset);
    std::size_t best = 0;
    for (const char each : kSeparators) best = std::max(best, fit(part, each));
    return best / kKnownColumn;
  };
  const char* chosen = usual;
  std::size_t best = fitIn(usual);
  for (const char* each : kCharsets) {
    const std::size_t fits = fitIn(each);
    if (fits <= best) continue;
    best = fits;
    chosen = each;
  }
  return chosen == usual ? text : foreign_text::utf8(bytes, chosen);
}

Table recognize(std::string_view text) {
  if (text.starts_with(kSeparatorHint)) {
    const std::size_t end = text.find_first_of("\r\n");
    text = end == std::string_view::npos ? std::string_view() : text.substr(end);
  }
  char separator = kSeparators[0];
  std::size_t best = 0;
  for (const char each : kSeparators) {
    const std::size_t fits = fit(text, each);
    if (fits <= best) continue;
    best = fits;
    separator = each;
  }
  return read(text, separator);
}

// Several addresses in one field.
void takeEmails(const std::string& field, ContactCard& card) {
  const std::string text = text::replacingAll(field, ":::", "\n");
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find_first_of(";,\n", begin), text.size());
    card.addEmail(std::string_view(text).substr(begin, end - begin));
    begin = end + 1;
  }
}

void takeField(Column column, const std::string& field, ContactCard& card) {
  switch (column) {
    case Column::firstName:
      return card.setGivenName(foreign_text::onOneLine(field));
    case Column::fullName:
      return card.setFullName(foreign_text::onOneLine(field));
    case Column::nickname:
      return card.setNickname(foreign_text::onOneLine(field));
    case Column::company:
      return card.setOrganization(foreign_text::onOneLine(field));
    case Column::uid:
      return card.setUid(foreign_text::onOneLine(field));
    case Column::phone:
      return card.addPhones(field);
    case Column::mainPhone:
      return card.addCompanyPhone(field);
    case Column::email:
      return takeEmails(field, card);
    case Column::familyName:  // alone it is not what people are called
    case Column::weak:
    case Column::other:
      return;
  }
}

void takeRecord(const CsvRecords::Record& record, const Table& table, ImportedPeople& result) {
  const std::string place = "line " + std::to_string(record.line);
  ContactCard card;
  if (record.hasOpenQuote) return card.skip(place, "a quote that is never closed", result);
  for (std::size_t at = 0; at < std::min(record.fields.size(), table.columns.size()); ++at)
    takeField(table.columns[at], record.fields[at], card);
  card.finish(place, result);
}

}  // namespace

void CsvRecords::takeLineBreak() {
  const bool isPair = _text[_position] == '\r' && _position + 1 < _text.size() && _text[_position + 1] == '\n';
  _position += isPair ? 2 : 1;
  ++_line;
}

void CsvRecords::takeQuoted(std::string& field, Record& record) {
  ++_position;
  while (_position < _text.size()) {
    if (isAtLineBreak()) {
      takeLineBreak();
      field += '\n';
      continue;
    }
    if (_text[_position] != '"') {
      field += _text[_position++];
      continue;
    }
    const bool isDoubled = _position + 1 < _text.size() && _text[_position + 1] == '"';
    _position += isDoubled ? 2 : 1;
    if (!isDoubled) return;
    field += '"';
  }
  record.hasOpenQuote = true;
}

std::string CsvRecords::takeField(Record& record) {
  std::string field;
  if (_position < _text.size() && _text[_position] == '"') takeQuoted(field, record);
  while (_position < _text.size() && _text[_position] != _separator && !isAtLineBreak()) field += _text[_position++];
  return field;
}

std::optional<CsvRecords::Record> CsvRecords::next() {
  if (_position >= _text.size()) return std::nullopt;
  Record record;
  record.line = _line;
  record.fields.push_back(takeField(record));
  while (_position < _text.size() && _text[_position] == _separator) {
    ++_position;
    record.fields.push_back(takeField(record));
  }
  if (_position < _text.size()) takeLineBreak();
  return record;
}

ImportedPeople parseCsvPeople(std::string_view bytes, const char* charset) {
  ImportedPeople result;
  result.format = ImportedPeople::Format::csv;
  const std::string text = inUtf8(bytes, charset);
  const Table table = recognize(text);
  if (!table.isEnough()) {
    result.problem =
        "The file is neither JSON nor vCards nor LDIF, and its first line does not name the columns of a table "
        "(such as First name, Phone, Email).";
    return result;
  }
  for (std::size_t at = 0; at < table.headings.size(); ++at) {
    const std::string heading = foreign_text::onOneLine(table.headings[at]);
    if (heading.empty()) continue;
    const bool isUsed = table.columns[at] != Column::other && table.columns[at] != Column::weak &&
                        table.columns[at] != Column::familyName;
    (isUsed ? result.usedColumns : result.unusedColumns).push_back(heading);
  }
  for (const CsvRecords::Record& record : table.records) takeRecord(record, table, result);
  return result;
}

}  // namespace pellora
