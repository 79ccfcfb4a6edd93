#include "PelloraMessagesCore/Text/PhraseTable.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace pellora {

namespace {

// The engine's word characters.
bool isWordScalar(UChar32 scalar) {
  constexpr UChar32 kZeroWidthNonJoiner = 0x200C;
  constexpr UChar32 kZeroWidthJoiner = 0x200D;
  if (scalar == kZeroWidthNonJoiner || scalar == kZeroWidthJoiner) return true;
  return u_hasBinaryProperty(scalar, UCHAR_ALPHABETIC) ||
         (U_GET_GC_MASK(scalar) & (U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK)) != 0;
}

// Marks and format characters belong to the character before them.
bool isPassedOver(UChar32 scalar) {
  return u_hasBinaryProperty(scalar, UCHAR_GRAPHEME_EXTEND) || u_charType(scalar) == U_FORMAT_CHAR;
}

// Whether a word that begins at `offset` with a letter really begins there.
bool isWordBegin(std::string_view text, std::size_t offset) {
  auto position = static_cast<std::int32_t>(offset);
  while (position > 0) {
    UChar32 scalar = 0;
    U8_PREV(text.data(), 0, position, scalar);
    if (scalar >= 0 && isPassedOver(scalar)) continue;
    return scalar < 0 || !isWordScalar(scalar);
  }
  return true;
}

}  // namespace

PhraseTable::PhraseTable(std::span<const std::string_view> phrases) : _phrases(phrases) {
  for (std::size_t place = 0; place < phrases.size(); ++place)
    _byFirstByte[static_cast<unsigned char>(phrases[place].front())].push_back(place);
}

std::optional<std::size_t> PhraseTable::firstIn(std::string_view text) const {
  std::size_t first = _phrases.size();
  for (std::size_t offset = 0; offset < text.size(); ++offset)
    for (const std::size_t place : _byFirstByte[static_cast<unsigned char>(text[offset])]) {
      if (place >= first) break;
      if (text.substr(offset).starts_with(_phrases[place])) first = place;
    }
  if (first == _phrases.size()) return std::nullopt;
  return first;
}

bool PhraseTable::anyBeginsWord(std::string_view text) const {
  for (std::size_t offset = 0; offset < text.size(); ++offset)
    for (const std::size_t place : _byFirstByte[static_cast<unsigned char>(text[offset])])
      if (text.substr(offset).starts_with(_phrases[place]) && isWordBegin(text, offset)) return true;
  return false;
}

}  // namespace pellora
