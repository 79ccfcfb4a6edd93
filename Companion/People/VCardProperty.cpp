#include "Companion/People/VCardProperty.h"

#include "Companion/Output/ForeignText.h"
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

char upper(char byte) {
  return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

std::string uppercased(std::string_view text) {
  std::string result;
  for (const char byte : text) result += upper(byte);
  return result;
}

// The first `mark` outside double quotes; when a quote is never closed, the first at all.
std::size_t findUnquoted(std::string_view text, char mark) {
  bool isQuoted = false;
  for (std::size_t position = 0; position < text.size(); ++position) {
    if (text[position] == '"') isQuoted = !isQuoted;
    if (text[position] == mark && !isQuoted) return position;
  }
  return isQuoted ? text.find(mark) : std::string_view::npos;
}

std::string_view unquoted(std::string_view text) {
  text = text::trimmed(text);
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') return text.substr(1, text.size() - 2);
  return text;
}

void readParameter(VCardProperty& property, std::string_view parameter) {
  const std::size_t equals = parameter.find('=');
  const std::string key = uppercased(text::trimmed(parameter.substr(0, equals)));
  if (equals == std::string_view::npos) {
    property.isQuotedPrintable = property.isQuotedPrintable || key == "QUOTED-PRINTABLE";
    property.types.push_back(key);
    return;
  }
  const std::string_view value = unquoted(parameter.substr(equals + 1));
  if (key == "TYPE")
    for (const std::string_view type : VCardProperty::components(value, ','))
      property.types.emplace_back(text::trimmed(type));
  if (key == "CHARSET") property.charset = std::string(value);
  if (key == "ENCODING" && uppercased(value) == "QUOTED-PRINTABLE") property.isQuotedPrintable = true;
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

std::optional<VCardProperty> VCardProperty::parse(std::string_view line) {
  const std::size_t colon = findUnquoted(line, ':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view head = line.substr(0, colon);
  VCardProperty property;
  property.value = line.substr(colon + 1);
  const std::size_t nameEnd = head.find(';');
  std::string_view name = head.substr(0, nameEnd);
  if (const std::size_t dot = name.rfind('.'); dot != std::string_view::npos) name.remove_prefix(dot + 1);
  property.name = uppercased(text::trimmed(name));
  head.remove_prefix(nameEnd == std::string_view::npos ? head.size() : nameEnd + 1);
  while (!head.empty()) {
    const std::size_t end = findUnquoted(head, ';');
    readParameter(property, head.substr(0, end));
    head.remove_prefix(end == std::string_view::npos ? head.size() : end + 1);
  }
  return property;
}

std::string VCardProperty::text() const {
  if (!isQuotedPrintable) return foreign_text::fromCharset(value, charset, false, usualCharset);
  return foreign_text::fromCharset(foreign_text::quotedPrintableDecoded(value), charset, true, usualCharset);
}

std::vector<std::string_view> VCardProperty::components(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  std::size_t begin = 0;
  for (std::size_t position = 0; position < text.size(); ++position) {
    if (text[position] == '\\') {
      ++position;
      continue;
    }
    if (text[position] != separator) continue;
    parts.push_back(text.substr(begin, position - begin));
    begin = position + 1;
  }
  parts.push_back(text.substr(begin));
  return parts;
}

std::string VCardProperty::unescaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size(); ++position) {
    if (text[position] != '\\' || position + 1 == text.size()) {
      result += text[position];
      continue;
    }
    const char escaped = text[++position];
    const bool isLineBreak = escaped == 'n' || escaped == 'N';
    const bool isEscape = escaped == '\\' || escaped == ',' || escaped == ';' || escaped == ':';
    if (!isLineBreak && !isEscape) result += '\\';
    result += isLineBreak ? '\n' : escaped;
  }
  return result;
}

}  // namespace pellora
