#include "Companion/People/CsvPeople.h"

#include <algorithm>
#include <string_view>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactEntries.h"
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

// Which column of a table holds what, found by the words that address books put into the first line.
struct CsvColumns {
  std::optional<std::size_t> firstName;
  std::optional<std::size_t> fullName;
  std::optional<std::size_t> nickname;
  std::optional<std::size_t> organization;
  std::optional<std::size_t> uid;
  std::vector<std::size_t> phones;
  std::vector<std::size_t> emails;

  static CsvColumns find(const std::vector<std::string>& header);

  // How many columns were recognised.
  std::size_t count() const;

  // Whether people can be read out of such a table.
  bool areEnough() const;
};

// Compared with headings in lower case without spaces, digits and punctuation.
constexpr std::string_view kFirstNames[] = {"firstname", "givenname", "first",  "given",        "forename", "vorname",
                                            "rufname",   "prénom",    "prenom", "nombredepila", "voornaam", "imię"};
constexpr std::string_view kFullNames[] = {
    "name",       "fullname", "displayname",    "contactname", "contact", "person",      "fileas",           "nom",
    "nomcomplet", "nombre",   "nombrecompleto", "nome",        "naam",    "anzeigename", "vollständigername"};
constexpr std::string_view kNicknames[] = {"nickname", "spitzname", "surnom", "apodo", "alias"};
constexpr std::string_view kOrganizations[] = {
    "organization", "organizationname", "organisation", "company", "companyname", "firma", "entreprise", "empresa"};
constexpr std::string_view kUids[] = {"uid", "id", "uuid", "contactid"};

constexpr std::string_view kPhoneNames[] = {"number", "numbers", "phones", "nummer", "número", "numéro", "numero"};

// Anywhere in such a heading.
constexpr std::string_view kPhoneParts[] = {"phone", "telefon",   "teléfono", "téléphone", "telefoon",  "mobil",
                                            "handy", "rufnummer", "móvil",    "cellul",    "cellphone", "portable"};
constexpr std::string_view kEmailParts[] = {"email", "courriel", "correo"};

// Alone between spaces, digits and punctuation.
constexpr std::string_view kPhoneWords[] = {"tel", "tél", "cell", "mobile", "gsm"};
constexpr std::string_view kEmailWords[] = {"mail", "mails"};

// Headings with these hold something about a number or address, or somebody else's.
constexpr std::string_view kNotValues[] = {"type",      "label",  "phonetic",  "yomi",    "displayname",
                                           "assistant", "spouse", "emergency", "manager", "referred"};

bool isPlainLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || static_cast<unsigned char>(byte) >= 0x80;
}

std::string squashed(std::string_view lower) {
  std::string result;
  std::copy_if(lower.begin(), lower.end(), std::back_inserter(result), isPlainLetter);
  return result;
}

template <std::size_t size>
bool isOneOf(std::string_view text, const std::string_view (&words)[size]) {
  return std::find(std::begin(words), std::end(words), text) != std::end(words);
}

template <std::size_t size>
bool hasPart(std::string_view text, const std::string_view (&parts)[size]) {
  return std::any_of(std::begin(parts), std::end(parts),
                     [text](std::string_view part) { return text.find(part) != std::string_view::npos; });
}

template <std::size_t size>
bool hasWord(std::string_view lower, const std::string_view (&words)[size]) {
  std::string word;
  for (const char byte : lower) {
    if (isPlainLetter(byte)) {
      word += byte;
      continue;
    }
    if (isOneOf(word, words)) return true;
    word.clear();
  }
  return isOneOf(word, words);
}

void setOnce(std::optional<std::size_t>& column, std::size_t index) {
  if (!column) column = index;
}

constexpr char kSeparators[] = {',', ';', '\t'};
constexpr std::string_view kSeparatorHint = "sep=";  // a first line that names the separator
constexpr std::string_view kBetweenValues = ":::";   // between several values in one field

using Fields = std::vector<std::string>;

struct Table {
  std::string_view text;
  char separator = ',';
  CsvColumns columns;
};

std::string_view afterFirstLine(std::string_view text) {
  const std::size_t end = text.find_first_of("\r\n");
  return end == std::string_view::npos ? std::string_view() : text::trimmed(text.substr(end));
}

Table recognise(std::string_view text) {
  Table best;
  if (text.starts_with(kSeparatorHint)) text = afterFirstLine(text);
  best.text = text;
  std::size_t mostFields = 0;
  for (const char separator : kSeparators) {
    const auto header = CsvRecords(text, separator).next();
    if (!header) continue;
    CsvColumns columns = CsvColumns::find(header->fields);
    const bool isBetter = columns.count() > best.columns.count() ||
                          (columns.count() == best.columns.count() && header->fields.size() > mostFields);
    if (!isBetter) continue;
    mostFields = header->fields.size();
    best.separator = separator;
    best.columns = std::move(columns);
  }
  return best;
}

std::string field(const Fields& fields, const std::optional<std::size_t>& column) {
  if (!column || *column >= fields.size()) return {};
  return foreign_text::onOneLine(fields[*column]);
}

// Calls `add` for every value in the field.
template <class Add>
void forEachValue(const std::string& fieldText, Add add) {
  const std::string text = text::replacingAll(fieldText, kBetweenValues, "\n");
  std::size_t begin = 0;
  while (begin <= text.size()) {
    const std::size_t end = std::min(text.find_first_of(";\n", begin), text.size());
    add(std::string_view(text).substr(begin, end - begin));
    begin = end + 1;
  }
}

void takeRecord(const CsvRecords::Record& record, const CsvColumns& columns, ImportedPeople& result) {
  const Fields& fields = record.fields;
  if (std::all_of(fields.begin(), fields.end(), [](const auto& text) { return text::trimmed(text).empty(); })) return;
  ImportedPerson person;
  const std::string fullName = field(fields, columns.fullName);
  const std::string organization = field(fields, columns.organization);
  person.firstName = field(fields, columns.firstName);
  if (person.firstName.empty() && fullName != organization) person.firstName = contact_entries::firstWord(fullName);
  if (person.firstName.empty()) person.firstName = field(fields, columns.nickname);
  person.uid = field(fields, columns.uid);
  const std::string name = !fullName.empty() ? fullName : person.firstName;
  const std::string someName = !name.empty() ? name : organization;
  person.entry = !someName.empty() ? someName : "line " + std::to_string(record.line);
  for (const std::size_t column : columns.phones)
    if (column < fields.size())
      forEachValue(fields[column], [&](std::string_view text) { contact_entries::addPhone(person, text); });
  for (const std::size_t column : columns.emails)
    if (column < fields.size())
      forEachValue(fields[column], [&](std::string_view text) { contact_entries::addEmail(person, text); });
  contact_entries::removeRepeats(person);
  if (record.hasOpenQuote)
    result.skipped.push_back({"line " + std::to_string(record.line), "a quote that is never closed"});
  else if (person.firstName.empty())
    result.skipped.push_back({person.entry, organization.empty() ? "no name" : "an organisation, not a person"});
  else if (person.phones.empty() && person.emails.empty())
    result.skipped.push_back({person.entry, "no phone number or e-mail address"});
  else
    result.people.push_back(std::move(person));
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

CsvColumns CsvColumns::find(const std::vector<std::string>& header) {
  CsvColumns columns;
  for (std::size_t index = 0; index < header.size(); ++index) {
    const std::string lower = text::lowercased(text::canonical(text::repairedUtf8(text::trimmed(header[index]))));
    const std::string name = squashed(lower);
    if (isOneOf(name, kFirstNames)) {
      setOnce(columns.firstName, index);
    } else if (isOneOf(name, kFullNames)) {
      setOnce(columns.fullName, index);
    } else if (isOneOf(name, kNicknames)) {
      setOnce(columns.nickname, index);
    } else if (isOneOf(name, kOrganizations)) {
      setOnce(columns.organization, index);
    } else if (isOneOf(name, kUids)) {
      setOnce(columns.uid, index);
    } else if (hasPart(name, kNotValues)) {
      continue;
    } else if (hasPart(name, kEmailParts) || hasWord(lower, kEmailWords)) {
      columns.emails.push_back(index);
    } else if (isOneOf(name, kPhoneNames) || hasPart(name, kPhoneParts) || hasWord(lower, kPhoneWords)) {
      columns.phones.push_back(index);
    }
  }
  return columns;
}

std::size_t CsvColumns::count() const {
  const std::size_t names = (firstName ? 1U : 0U) + (fullName ? 1U : 0U) + (nickname ? 1U : 0U);
  return names + (organization ? 1U : 0U) + (uid ? 1U : 0U) + phones.size() + emails.size();
}

bool CsvColumns::areEnough() const {
  return (firstName || fullName || nickname) && (!phones.empty() || !emails.empty());
}

ImportedPeople parseCsvPeople(std::string_view text) {
  ImportedPeople result;
  result.format = ImportedPeople::Format::csv;
  const Table table = recognise(text);
  if (!table.columns.areEnough()) {
    result.problem =
        "The file is neither JSON nor vCards, and its first line does not name the columns of a table "
        "(such as First name, Phone, Email).";
    return result;
  }
  CsvRecords records(table.text, table.separator);
  records.next();
  while (const auto record = records.next()) takeRecord(*record, table.columns, result);
  return result;
}

}  // namespace pellora
