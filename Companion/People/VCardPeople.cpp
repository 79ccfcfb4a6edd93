#include <algorithm>
#include <optional>
#include <string>

#include "Companion/Output/ForeignText.h"
#include "Companion/People/ContactCard.h"
#include "Companion/People/PeopleParser.h"
#include "Companion/People/VCardProperty.h"
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

// A link's parameters begin at the first semicolon.
std::string_view withoutLinkParameters(std::string_view value) {
  return text::prefixLengthIgnoringCase(value, "tel:") ? value.substr(0, value.find(';')) : value;
}

// The words of TYPE, also bare ones: "CELL,VOICE;PREF" and "type=cell;type=pref".
bool hasType(const VCardProperty& property, std::string_view type) {
  return std::any_of(property.types.begin(), property.types.end(),
                     [type](const std::string& each) { return text::equalIgnoringCase(each, type); });
}

void takeName(const std::string& text, ContactCard& card) {
  if (card.hasName()) return;
  const auto parts = VCardProperty::components(text, ';');
  card.setFamilyName(firstValue(parts[0]));
  if (parts.size() > 1) card.setGivenName(firstValue(parts[1]));
}

void takePhone(const VCardProperty& property, ContactCard& card) {
  if (hasType(property, "FAX") || hasType(property, "PAGER") || hasType(property, "MODEM")) return;
  const std::string value = VCardProperty::unescaped(property.text());
  const std::string number(withoutLinkParameters(value));
  // The main number on a company's card is the switchboard's.
  if (hasType(property, "MAIN") && hasType(property, "WORK"))
    card.addCompanyPhone(number);
  else
    card.addPhones(number);
}

void takeKind(const std::string& kind, ContactCard& card) {
  if (text::equalIgnoringCase(kind, "group")) card.setKind(ContactCard::Kind::group);
  if (text::equalIgnoringCase(kind, "org")) card.setKind(ContactCard::Kind::organization);
}

void take(const VCardProperty& property, ContactCard& card) {
  if (property.name == "N") return takeName(property.text(), card);
  if (property.name == "FN") return card.setFullName(wholeValue(property.text()));
  if (property.name == "NICKNAME") return card.setNickname(firstValue(property.text()));
  if (property.name == "ORG")
    return card.setOrganization(wholeValue(VCardProperty::components(property.text(), ';').front()));
  if (property.name == "UID") return card.setUid(wholeValue(property.text()));
  if (property.name == "TEL") return takePhone(property, card);
  if (property.name == "EMAIL") return card.addEmail(VCardProperty::unescaped(property.text()));
  if (property.name == "KIND" || property.name == "X-ADDRESSBOOKSERVER-KIND")
    return takeKind(wholeValue(property.text()), card);
  if (property.name == "X-ABSHOWAS" && text::equalIgnoringCase(wholeValue(property.text()), "COMPANY"))
    card.setKind(ContactCard::Kind::organization);
}

bool isWord(std::string_view value, std::string_view word) {
  return text::equalIgnoringCase(text::trimmed(value), word);
}

class Reader {
 public:
  Reader(std::string_view text, const char* usualCharset) : _lines(text), _usualCharset(usualCharset) {
    _result.format = ImportedPeople::Format::vCard;
  }

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
    auto property = VCardProperty::parse(line);
    if (!property) return;
    property->usualCharset = _usualCharset;
    const bool isVCard = isWord(property->value, "VCARD");
    if (property->name == "BEGIN" && isVCard) return begin();
    if (property->name == "END" && isVCard) return end();
    if (!_card || _depth > 0) return;
    _lastIsEmptyAgent = property->name == "AGENT" && text::trimmed(property->value).empty();
    if (property->name == "VERSION") _lines.setKeepsSpaceAtFolds(isWord(property->value, "2.1"));
    take(*property, *_card);
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

  std::string place() const { return "card " + std::to_string(_number); }

  void finishCard() {
    if (_card) _card->finish(place(), _result);
    _card.reset();
  }

  void skip(std::string reason) {
    _card->skip(place(), std::move(reason), _result);
    _card.reset();
  }

  VCardLines _lines;
  const char* _usualCharset;
  ImportedPeople _result;
  std::optional<ContactCard> _card;
  std::size_t _number = 0;
  std::size_t _depth = 0;  // cards open inside the card
  bool _lastIsEmptyAgent = false;
};

}  // namespace

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

ImportedPeople parseVCardPeople(std::string_view text, const char* charset) {
  return Reader(text, charset).read();
}

}  // namespace pellora
