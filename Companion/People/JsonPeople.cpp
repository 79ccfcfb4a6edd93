#include <algorithm>
#include <optional>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactCard.h"
#include "Companion/People/PeopleParser.h"
#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using Add = void (ContactCard::*)(std::string_view);

constexpr const char* kPhoneKeys[] = {"phones", "phone", "phoneNumbers"};
constexpr const char* kEmailKeys[] = {"emails", "email", "emailAddresses"};
constexpr const char* kFirstNameKeys[] = {"firstName", "givenName", "first_name"};
constexpr const char* kNameKeys[] = {"name", "fullName", "displayName"};
constexpr std::size_t kLargest = std::size_t{256} << 20;  // bytes

// Absent when the member is there and is neither a text nor a list of texts.
bool addMember(ContactCard& card, const JsonValue& value, Add add) {
  if (value.isNull()) return true;
  if (const std::string* text = value.string()) {
    (card.*add)(*text);
    return true;
  }
  if (!value.isArray()) return false;
  for (const JsonValue& element : value.elements()) {
    if (element.string() == nullptr) return false;
    (card.*add)(element.text());
  }
  return true;
}

bool addMembers(ContactCard& card, const JsonValue& object) {
  const auto addPhones = [&](const char* key) { return addMember(card, object[key], &ContactCard::addPhones); };
  const auto addEmails = [&](const char* key) { return addMember(card, object[key], &ContactCard::addEmail); };
  return std::all_of(std::begin(kPhoneKeys), std::end(kPhoneKeys), addPhones) &&
         std::all_of(std::begin(kEmailKeys), std::end(kEmailKeys), addEmails);
}

// False when the object has no name; a first name may be there and empty.
bool takeNames(ContactCard& card, const JsonValue& object) {
  bool hasName = false;
  for (const char* key : kFirstNameKeys) {
    if (object[key].string() == nullptr || hasName) continue;
    card.setGivenName(foreign_text::onOneLine(object[key].text()));
    hasName = true;
  }
  for (const char* key : kNameKeys) {
    if (object[key].string() == nullptr) continue;
    card.setFullName(foreign_text::onOneLine(object[key].text()));
    hasName = true;
  }
  return hasName;
}

void takeItem(const JsonValue& item, std::size_t number, ImportedPeople& result) {
  const std::string place = "item " + std::to_string(number);
  ContactCard card;
  if (!item.isObject()) return card.skip(place, "not an object", result);
  if (!takeNames(card, item)) return card.skip(place, "no name", result);
  for (const char* key : {"id", "uid"}) card.setUid(foreign_text::onOneLine(item[key].text()));
  if (!addMembers(card, item)) return card.skip(place, "phones and emails must be lists of texts", result);
  card.finish(place, result, ContactCard::Name::optional);
}

bool isJCard(const JsonValue& value) {
  return value.isArray() && value.elements().size() == 2 && value.elements().front().text() == "vcard";
}

// The text of a property's value, or of a part of it that has several.
std::string textOf(const JsonValue& value) {
  const JsonValue& first = value.isArray() && !value.elements().empty() ? value.elements().front() : value;
  return foreign_text::onOneLine(first.text());
}

bool hasType(const JsonValue& parameters, std::string_view wanted) {
  const JsonValue& type = parameters["type"];
  const auto is = [wanted](const JsonValue& value) { return text::equalIgnoringCase(value.text(), wanted); };
  return is(type) || std::any_of(type.elements().begin(), type.elements().end(), is);
}

void takeJProperty(const JsonValue& property, ContactCard& card) {
  const auto& parts = property.elements();
  if (parts.size() < 4) return;
  const std::string name = text::lowercased(parts[0].text());
  const JsonValue& value = parts[3];
  if (name == "n" && value.elements().size() > 1) {
    card.setFamilyName(textOf(value.elements()[0]));
    card.setGivenName(textOf(value.elements()[1]));
  }
  if (name == "fn") card.setFullName(textOf(value));
  if (name == "nickname") card.setNickname(textOf(value));
  if (name == "org") card.setOrganization(textOf(value));
  if (name == "uid") card.setUid(textOf(value));
  if (name == "email") card.addEmail(textOf(value));
  if (name == "kind" && textOf(value) == "group") card.setKind(ContactCard::Kind::group);
  if (name == "kind" && textOf(value) == "org") card.setKind(ContactCard::Kind::organization);
  if (name != "tel" || hasType(parts[1], "fax") || hasType(parts[1], "pager")) return;
  const std::string number = textOf(value);
  card.addPhones(number.substr(0, number.find(';')));
}

void takeJCard(const JsonValue& jCard, std::size_t number, ImportedPeople& result) {
  ContactCard card;
  const std::string place = "card " + std::to_string(number);
  if (!isJCard(jCard)) return card.skip(place, "not a card", result);
  for (const JsonValue& property : jCard.elements()[1].elements()) takeJProperty(property, card);
  card.finish(place, result);
}

}  // namespace

ImportedPeople parseJsonPeople(std::string_view json) {
  ImportedPeople result;
  JsonLimits limits;
  limits.size = kLargest;
  const auto document = JsonValue::parse(json, limits);
  if (!document) {
    result.problem = "The file begins like JSON but is not well-formed.";
    return result;
  }
  const JsonValue& list = document->isObject() ? (*document)["people"] : *document;
  if (!list.isArray()) {
    result.problem = "The JSON must be a list of people or an object with the list \"people\".";
    return result;
  }
  const auto& items = list.elements();
  if (isJCard(list) || (!items.empty() && isJCard(items.front()))) {
    result.format = ImportedPeople::Format::jCard;
    if (isJCard(list)) takeJCard(list, 1, result);
    for (std::size_t index = 0; !isJCard(list) && index < items.size(); ++index)
      takeJCard(items[index], index + 1, result);
    return result;
  }
  for (std::size_t index = 0; index < items.size(); ++index) takeItem(items[index], index + 1, result);
  return result;
}

}  // namespace pellora
