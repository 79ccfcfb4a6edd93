#include "Companion/People/VCardLines.h"

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

constexpr std::size_t kLongestHead = 1024;  // bytes before the colon that are searched for an encoding

bool isSpace(char byte) {
  return byte == ' ' || byte == '\t';
}

bool isQuotedPrintable(std::string_view line) {
  const std::string_view beginning = line.substr(0, kLongestHead);
  const std::string_view head = beginning.substr(0, beginning.find(':'));
  if (head.size() == beginning.size() || head.find('Q') == head.find('q')) return false;
  return text::findIgnoringCase(head, "QUOTED-PRINTABLE").has_value();
}

bool isSoftBreak(std::string_view line) {
  while (!line.empty() && isSpace(line.back())) line.remove_suffix(1);
  return line.ends_with('=');
}

// A soft break cannot run into the next card: a line that ends in "=" by mistake must not hide its end.
bool isFrame(std::string_view line) {
  return text::prefixLengthIgnoringCase(line.substr(0, 16), "BEGIN:VCARD") ||
         text::prefixLengthIgnoringCase(line.substr(0, 16), "END:VCARD");
}

}  // namespace

std::string_view VCardLines::takePhysicalLine() {
  const std::size_t end = _rest.find_first_of("\r\n");
  _endedWithoutLineBreak = end == std::string_view::npos;
  const std::string_view line = _rest.substr(0, end);
  if (_endedWithoutLineBreak) {
    _rest = {};
    return line;
  }
  const bool isPair = _rest[end] == '\r' && end + 1 < _rest.size() && _rest[end + 1] == '\n';
  _rest.remove_prefix(end + (isPair ? 2 : 1));
  return line;
}

bool VCardLines::joinNext(std::string& line) {
  if (_rest.empty()) return false;
  const bool quotedPrintable = isQuotedPrintable(line);
  if (quotedPrintable && isSoftBreak(line) && !isFrame(_rest)) {
    line.erase(line.rfind('='));
    line += takePhysicalLine();
    return true;
  }
  if (!isSpace(_rest.front())) return false;
  const std::string_view continuation = takePhysicalLine();
  line += continuation.substr(_keepsSpaceAtFolds && !quotedPrintable ? 0 : 1);
  return true;
}

std::optional<std::string> VCardLines::next() {
  while (!_rest.empty()) {
    std::string line(takePhysicalLine());
    if (line.empty()) continue;
    while (joinNext(line)) {
    }
    return line;
  }
  return std::nullopt;
}

}  // namespace pellora
