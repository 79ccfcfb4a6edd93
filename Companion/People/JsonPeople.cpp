#include "Companion/People/JsonPeople.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactEntries.h"

namespace pellora {

namespace {

using Json = nlohmann::json;
using Add = void (*)(ImportedPerson&, std::string_view);

constexpr const char* kPhoneKeys[] = {"phones", "phone", "phoneNumbers"};
constexpr const char* kEmailKeys[] = {"emails", "email", "emailAddresses"};
constexpr const char* kFirstNameKeys[] = {"firstName", "givenName", "first_name"};
constexpr const char* kNameKeys[] = {"name", "fullName", "displayName"};

const Json* textMember(const Json& object, const char* key) {
  const auto member = object.find(key);
  return member != object.end() && member->is_string() ? &*member : nullptr;
}

// False when the member is there and is neither a text nor a list of texts.
bool addMember(ImportedPerson& person, const Json& object, const char* key, Add add) {
  const auto member = object.find(key);
  if (member == object.end() || member->is_null()) return true;
  if (member->is_string()) {
    add(person, member->get_ref<const std::string&>());
    return true;
  }
  if (!member->is_array()) return false;
  for (const Json& element : *member) {
    if (!element.is_string()) return false;
    add(person, element.get_ref<const std::string&>());
  }
  return true;
}

bool addMembers(ImportedPerson& person, const Json& object) {
  const auto addPhones = [&](const char* key) { return addMember(person, object, key, contact_entries::addPhone); };
  const auto addEmails = [&](const char* key) { return addMember(person, object, key, contact_entries::addEmail); };
  return std::all_of(std::begin(kPhoneKeys), std::end(kPhoneKeys), addPhones) &&
         std::all_of(std::begin(kEmailKeys), std::end(kEmailKeys), addEmails);
}

// Absent when the object has no name; a first name may be there and empty.
std::optional<std::string> firstNameOf(const Json& object) {
  for (const char* key : kFirstNameKeys)
    if (const Json* name = textMember(object, key)) return foreign_text::onOneLine(name->get_ref<const std::string&>());
  for (const char* key : kNameKeys) {
    const Json* name = textMember(object, key);
    if (name != nullptr) return contact_entries::firstWord(name->get_ref<const std::string&>());
  }
  return std::nullopt;
}

std::string entryName(const Json& object, const std::string& firstName, std::size_t number) {
  for (const char* key : kNameKeys)
    if (const Json* name = textMember(object, key)) {
      std::string line = foreign_text::onOneLine(name->get_ref<const std::string&>());
      if (!line.empty()) return line;
    }
  return firstName.empty() ? "item " + std::to_string(number) : firstName;
}

void takeItem(const Json& item, std::size_t number, ImportedPeople& result) {
  const std::string place = "item " + std::to_string(number);
  if (!item.is_object()) {
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
    if (const Json* id = textMember(item, key); id != nullptr && person.uid.empty())
      person.uid = foreign_text::onOneLine(id->get_ref<const std::string&>());
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
  const Json document = Json::parse(json, nullptr, false);
  if (document.is_discarded()) {
    result.problem = "The file begins like JSON but is not well-formed.";
    return result;
  }
  const bool isObject = document.is_object() && document.contains("people");
  const Json& list = isObject ? document["people"] : document;
  if (!list.is_array()) {
    result.problem = "The JSON must be a list of people or an object with the list \"people\".";
    return result;
  }
  for (std::size_t index = 0; index < list.size(); ++index) takeItem(list[index], index + 1, result);
  return result;
}

}  // namespace pellora
