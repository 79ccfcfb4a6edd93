#include "Companion/People/PeopleParser.h"

#include <iterator>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/CsvPeople.h"
#include "Companion/People/JsonPeople.h"
#include "Companion/People/LdifPeople.h"
#include "Companion/People/VCardPeople.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

ImportedPeople unreadable(std::string problem) {
  ImportedPeople result;
  result.problem = std::move(problem);
  return result;
}

}  // namespace

void ImportedPeople::append(ImportedPeople other) {
  const auto add = [](auto& list, auto& more) {
    list.insert(list.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
  };
  add(people, other.people);
  add(skipped, other.skipped);
  add(companyPhones, other.companyPhones);
  add(usedColumns, other.usedColumns);
  add(unusedColumns, other.unusedColumns);
  format = Format::several;
}

ImportedPeople parsePeople(std::string_view bytes) {
  const std::string unicode = foreign_text::withoutByteOrder(bytes);
  const std::string_view content = text::trimmed(unicode);
  if (content.empty()) return unreadable("The file is empty.");
  if (content.find('\0') != std::string_view::npos)
    return unreadable("The file is neither a JSON list nor a table nor vCards.");
  if (content.front() == '[' || content.front() == '{') return parseJsonPeople(foreign_text::utf8(unicode));
  if (containsVCard(unicode)) return parseVCardPeople(unicode);
  if (containsLdif(content)) return parseLdifPeople(content);
  return parseCsvPeople(foreign_text::utf8(unicode));
}

}  // namespace pellora
