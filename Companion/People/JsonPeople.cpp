#include "Companion/People/JsonPeople.h"

#include <algorithm>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactEntries.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

namespace {

using Add = void (*)(ImportedPerson&, std::string_view);

constexpr const char* kPhoneKeys[] = {"phones", "phone", "phoneNumbers"};
constexpr const char* kEmailKeys[] = {"emails", "email", "emailAddresses"};
constexpr const char* kFirstNameKeys[] = {"firstName", "givenName", "first_name"};
constexpr const char* kNameKeys[] = {"name", "fullName", "displayName"};

// False when the member is there and is neither a text nor a list of texts.
bool addMember(ImportedPerson& person, const JsonValue& object, const char* key, Add add) {
  const JsonValue& member = object[key];
  if (member.isNull()) return true;
  if (const std::string* text = member.string()) {
    add(person, *text);
    return true;
  }
  if (!member.isArray()) return false;
  for (const JsonValue& element : member.elements()) {
    if (element.string() == nullptr) return false;
    add(person, element.text());
  }
  return true;
}

bool addMembers(ImportedPerson& person, const JsonValue& object) {
  const auto addPhones = [&](const char* key) { return addMember(person, object, key, contact_entries::addPhone); };
  const auto addEmails = [&](const char* key) { return addMember(person, object, key, contact_entries::addEmail); };
  return std::all_of(std::begin(kPhoneKeys), std::end(kPhoneKeys), addPhones) &&
         std::all_of(std::begin(kEmailKeys), std::end(kEmailKeys), addEmails);
}

// Absent when the object has no name; a first name may be there and empty.
std::optional<std::string> firstNameOf(const JsonValue& object) {
  for (const char* key : kFirstNameKeys)
    if (const std::string* name = object[key].string()) return foreign_text::onOneLine(*name);
  for (const char* key : kNameKeys) {
    if (const std::string* name = object[key].string()) return contact_entries::firstWord(*name);
  }
  return std::nullopt;
}

std::string entryName(const JsonValue& object, const std::string& firstName, std::size_t number) {
  for (const char* key : kNameKeys)
    if (const std::string* name = object[key].string()) {
      std::string line = foreign_text::onOneLine(*name);
      if (!line.empty()) return line;
    }
  return firstName.empty() ? "item " + std::to_string(number) : firstName;
}

void takeItem(const JsonValue& item, std::size_t number, ImportedPeople& result) {
  const std::string place = "item " + std::to_string(number);
  if (!item.isObject()) {
    result.skipped.push_back({place, "not an object"});
    return;
  }
  const auto firstName = firstNameOf(item);
  if (!firstName) {
    result.skipped.push_back({place, "no name"});
    return;
  }
  ImportedPerson person;
  person.firstName = *firstName;
  person.entry = entryName(item, *firstName, number);
  for (const char* key : {"id", "uid"})
    if (person.uid.empty()) person.uid = foreign_text::onOneLine(item[key].text());
  if (!addMembers(person, item)) {
    result.skipped.push_back({person.entry, "phones and emails must be lists of texts"});
    return;
  }
  contact_entries::removeRepeats(person);
  if (person.phones.empty() && person.emails.empty())
    result.skipped.push_back({person.entry, "no phone number or e-mail address"});
  else
    result.people.push_back(std::move(person));
}

}  // namespace

ImportedPeople parseJsonPeople(std::string_view json) {
  ImportedPeople result;
  const std::optional<JsonValue> document = JsonValue::parse(json);
  if (!document) {
    result.problem = "The file begins like JSON but is not well-formed.";
    return result;
  }
  const JsonValue& list = document->contains("people") ? (*document)["people"] : *document;
  if (!list.isArray()) {
    result.problem = "The JSON must be a list of people or an object with the list \"people\".";
    return result;
  }
  std::size_t number = 0;
  for (const JsonValue& item : list.elements()) takeItem(item, ++number, result);
  return result;
}

}  // namespace pellora
