#include "Companion/People/ContactEntries.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "Companion/Output/ForeignText.h"
#include "PelloraMessagesCore/ContactNormalization.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::contact_entries {

namespace {

constexpr std::size_t kShortestNumber = 7;           // digits; what follows so many may be an extension
constexpr std::string_view kExtensionMarks = ",;#";  // pauses and tones after a number

std::string_view withoutScheme(std::string_view text, std::string_view scheme) {
  const auto length = text::prefixLengthIgnoringCase(text, scheme);
  return length ? text.substr(*length) : text;
}

bool isAsciiLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

std::string_view withoutExtension(std::string_view number) {
  std::size_t digits = 0;
  for (std::size_t position = 0; position < number.size(); ++position) {
    const char byte = number[position];
    if (byte >= '0' && byte <= '9') ++digits;
    const bool isMark = isAsciiLetter(byte) || kExtensionMarks.find(byte) != std::string_view::npos;
    if (isMark && digits >= kShortestNumber) return number.substr(0, position);
  }
  return number;
}

void keepFirsts(std::vector<std::string>& texts) {
  std::unordered_set<std::string> seen;
  std::erase_if(texts, [&seen](const std::string& text) { return !seen.insert(text).second; });
}

}  // namespace

void addPhone(ImportedPerson& person, std::string_view text) {
  const std::string valid = text::repairedUtf8(text);
  const std::string_view number = withoutScheme(text::trimmed(valid), "tel:");
  if (number.find('@') != std::string_view::npos) return addEmail(person, number);
  std::string phone = ContactNormalization::phone(withoutExtension(number));
  if (!phone.empty()) person.phones.push_back(std::move(phone));
}

void addEmail(ImportedPerson& person, std::string_view text) {
  const std::string valid = text::repairedUtf8(text);
  std::string_view address = withoutScheme(text::trimmed(valid), "mailto:");
  const std::size_t open = address.rfind('<');
  const std::size_t close = address.rfind('>');
  if (open != std::string_view::npos && close != std::string_view::npos && open < close)
    address = address.substr(open + 1, close - open - 1);
  if (address.find('@') == std::string_view::npos) return;
  std::string email = ContactNormalization::email(foreign_text::onOneLine(address));
  if (!email.empty()) person.emails.push_back(std::move(email));
}

void removeRepeats(ImportedPerson& person) {
  keepFirsts(person.phones);
  keepFirsts(person.emails);
}

std::string firstWord(std::string_view name) {
  const std::string line = foreign_text::onOneLine(name);
  return line.substr(0, line.find(' '));
}

}  // namespace pellora::contact_entries
