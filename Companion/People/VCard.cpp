#include "Companion/People/VCard.h"

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactEntries.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

// The first of a list's values, on one line.
std::string firstValue(std::string_view component) {
  return foreign_text::onOneLine(VCardProperty::unescaped(VCardProperty::components(component, ',').front()));
}

std::string wholeValue(std::string_view component) {
  return foreign_text::onOneLine(VCardProperty::unescaped(component));
}

void setOnce(std::string& field, std::string value) {
  if (field.empty()) field = std::move(value);
}

// A link's parameters begin at the first semicolon.
std::string_view withoutLinkParameters(std::string_view value) {
  return text::prefixLengthIgnoringCase(value, "tel:") ? value.substr(0, value.find(';')) : value;
}

}  // namespace

void VCard::takeName(const std::string& text) {
  const auto parts = VCardProperty::components(text, ';');
  if (!_givenName.empty() || !_familyName.empty()) return;
  _familyName = firstValue(parts[0]);
  if (parts.size() > 1) _givenName = firstValue(parts[1]);
}

void VCard::take(const VCardProperty& property) {
  if (property.name == "N") return takeName(property.text());
  if (property.name == "FN") return setOnce(_fullName, wholeValue(property.text()));
  if (property.name == "NICKNAME") return setOnce(_nickname, firstValue(property.text()));
  if (property.name == "ORG")
    return setOnce(_organization, wholeValue(VCardProperty::components(property.text(), ';').front()));
  if (property.name == "UID") return setOnce(_person.uid, wholeValue(property.text()));
  if (property.name == "TEL")
    return contact_entries::addPhone(_person, withoutLinkParameters(VCardProperty::unescaped(property.text())));
  if (property.name == "EMAIL") return contact_entries::addEmail(_person, VCardProperty::unescaped(property.text()));
  if (property.name == "KIND" || property.name == "X-ADDRESSBOOKSERVER-KIND") {
    const std::string kind = wholeValue(property.text());
    _isGroup = _isGroup || text::equalIgnoringCase(kind, "group");
    _isOrganization = _isOrganization || text::equalIgnoringCase(kind, "org");
  }
  if (property.name == "X-ABSHOWAS") _isOrganization = text::equalIgnoringCase(wholeValue(property.text()), "COMPANY");
}

std::string VCard::firstName() const {
  if (!_givenName.empty()) return _givenName;
  const bool isCompany = !_organization.empty() && text::equalIgnoringCase(_fullName, _organization);
  if (!_fullName.empty() && !isCompany) return contact_entries::firstWord(_fullName);
  return !_nickname.empty() ? _nickname : _familyName;
}

std::variant<ImportedPerson, SkippedEntry> VCard::finish(std::size_t number) {
  std::string entry = "card " + std::to_string(number);
  for (const std::string& name : {_organization, _familyName, _givenName, _fullName})
    if (!name.empty()) entry = name;
  if (_isGroup) return SkippedEntry{entry, "a group, not a person"};
  _person.firstName = firstName();
  if (_isOrganization && _givenName.empty()) _person.firstName.clear();
  if (_person.firstName.empty())
    return SkippedEntry{entry, _organization.empty() && !_isOrganization ? "no name" : "an organisation, not a person"};
  contact_entries::removeRepeats(_person);
  if (_person.phones.empty() && _person.emails.empty()) return SkippedEntry{entry, "no phone number or e-mail address"};
  _person.entry = std::move(entry);
  return std::move(_person);
}

}  // namespace pellora
