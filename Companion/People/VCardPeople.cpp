#include "Companion/People/VCardPeople.h"

#include "Companion/People/VCard.h"
#include "Companion/People/VCardLines.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

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
