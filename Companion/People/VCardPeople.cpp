#include "Companion/People/VCardPeople.h"

#include <optional>
#include <string>
#include <variant>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactEntries.h"
#include "Companion/People/VCardProperty.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

// One card while it is read: what its properties say about a person.
class VCard {
 public:
  void take(const VCardProperty& property);

  // The person, or why the card holds none. `number` counts the file's cards from 1.
  std::variant<ImportedPerson, SkippedEntry> finish(std::size_t number);

 private:
  void takeName(const std::string& text);
  std::string firstName() const;

  ImportedPerson _person;
  std::string _fullName;
  std::string _givenName;
  std::string _familyName;
  std::string _nickname;
  std::string _organization;
  bool _isGroup = false;
  bool _isOrganization = false;
};

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

bool isWord(std::string_view value, std::string_view word) {
  return text::equalIgnoringCase(text::trimmed(value), word);
}

class Reader {
 public:
  explicit Reader(std::string_view text) : _lines(text) { _result.format = ImportedPeople::Format::vCard; }

  ImportedPeople read() && {
    while (auto line = _lines.next()) takeLine(*line);
    if (_card && _lines.endedWithoutLineBreak())
      skip("the file ends in the middle of this card");
    else
      finishCard();
    if (_result.people.empty() && _result.skipped.empty()) _result.problem = "The file holds no vCards.";
    return std::move(_result);
  }

 private:
  void takeLine(std::string_view line) {
    const auto property = VCardProperty::parse(line);
    if (!property) return;
    const bool isVCard = isWord(property->value, "VCARD");
    if (property->name == "BEGIN" && isVCard) return begin();
    if (property->name == "END" && isVCard) return end();
    if (!_card || _depth > 0) return;
    _lastIsEmptyAgent = property->name == "AGENT" && text::trimmed(property->value).empty();
    if (property->name == "VERSION") _lines.setKeepsSpaceAtFolds(isWord(property->value, "2.1"));
    _card->take(*property);
  }

  void begin() {
    // A card opens inside another one as its agent, or because the other one's end is missing.
    if (_depth > 0 || (_card && _lastIsEmptyAgent)) {
      ++_depth;
      return;
    }
    finishCard();
    _card.emplace();
    ++_number;
    _lastIsEmptyAgent = false;
    _lines.setKeepsSpaceAtFolds(false);
  }

  void end() {
    _lastIsEmptyAgent = false;
    if (_depth > 0)
      --_depth;
    else
      finishCard();
  }

  void finishCard() {
    if (!_card) return;
    auto finished = _card->finish(_number);
    if (auto* person = std::get_if<ImportedPerson>(&finished)) _result.people.push_back(std::move(*person));
    if (auto* skipped = std::get_if<SkippedEntry>(&finished)) _result.skipped.push_back(std::move(*skipped));
    _card.reset();
  }

  void skip(std::string reason) {
    auto finished = _card->finish(_number);
    const auto* person = std::get_if<ImportedPerson>(&finished);
    _result.skipped.push_back(
        {person != nullptr ? person->entry : std::get<SkippedEntry>(finished).entry, std::move(reason)});
    _card.reset();
  }

  VCardLines _lines;
  ImportedPeople _result;
  std::optional<VCard> _card;
  std::size_t _number = 0;
  std::size_t _depth = 0;  // cards open inside the card
  bool _lastIsEmptyAgent = false;
};

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

bool containsVCard(std::string_view text) {
  constexpr std::string_view kName = "BEGIN";
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = text.find_first_of("\r\n", begin);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(begin, end - begin);
    if (line.size() >= kName.size() && line.size() < 64 && text::prefixLengthIgnoringCase(line, kName)) {
      const auto property = VCardProperty::parse(line);
      if (property && property->name == kName && isWord(property->value, "VCARD")) return true;
    }
    begin = end + 1;
  }
  return false;
}

ImportedPeople parseVCardPeople(std::string_view text) {
  return Reader(text).read();
}

}  // namespace pellora
