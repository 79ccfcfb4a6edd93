#include "Companion/People/CsvPeople.h"

#include <algorithm>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactEntries.h"
#include "Companion/People/CsvColumns.h"
#include "Companion/People/CsvRecords.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

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
