#include "PelloraMessagesCore/ContactNormalization.h"

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::ContactNormalization {

namespace {

constexpr std::size_t kKeptCharacters = 10;

}  // namespace

std::string phone(std::string_view text) {
  std::vector<std::string_view> numbers;
  for (const std::string_view character : text::characters(text))
    if (text::isNumberCharacter(character)) numbers.push_back(character);
  const std::size_t dropped = numbers.size() > kKeptCharacters ? numbers.size() - kKeptCharacters : 0;
  std::string result;
  for (std::size_t index = dropped; index < numbers.size(); ++index) result += numbers[index];
  return result;
}

std::string email(std::string_view text) {
  return text::lowercased(text::trimmed(text));
}

}  // namespace pellora::ContactNormalization
