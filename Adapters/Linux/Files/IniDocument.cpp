#include "Adapters/Linux/Files/IniDocument.h"

#include <algorithm>

namespace pellora {

namespace {

constexpr std::string_view kImplicitGroup = "General";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlank = " \t\r\n\v\f";

// The range of `text` from `begin` to `end` without blanks around it; at `begin` when there is nothing else.
std::pair<std::size_t, std::size_t> trimmedRange(std::string_view text, std::size_t begin, std::size_t end) {
  while (end > begin && kBlank.find(text[end - 1]) != std::string_view::npos) --end;
  while (begin < end && kBlank.find(text[begin]) != std::string_view::npos) ++begin;
  return {begin, end};
}

bool isImplicitGroup(std::string_view name) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(name, kImplicitGroup, {}, lower, lower);
}

std::size_t endOfPhysicalLine(std::string_view bytes, std::size_t begin) {
  const std::size_t at = bytes.find_first_of("\r\n", begin);
  if (at == std::string_view::npos) return bytes.size();
  return bytes.substr(at, 2) == "\r\n" ? at + 2 : at + 1;
}

}  // namespace

IniDocument::IniDocument(std::string_view bytes, Dialect dialect) : _dialect(dialect) {
  std::string group(dialect == Dialect::settings ? kImplicitGroup : std::string_view());
  for (std::size_t begin = 0; begin < bytes.size();) {
    const std::size_t end = endOfLine(bytes, begin);
    _lines.push_back(parsed(bytes.substr(begin, end - begin), group));
    group = _lines.back().group;
    begin = end;
  }
}

// A quote that is never closed would swallow the rest of a damaged file: then the line ends where it seems to.
std::size_t IniDocument::endOfLine(std::string_view bytes, std::size_t begin) const {
  const std::size_t physicalEnd = endOfPhysicalLine(bytes, begin);
  if (_dialect == Dialect::desktopEntry) return physicalEnd;
  bool quoted = false;
  for (std::size_t at = begin; at < bytes.size(); ++at) {
    const char c = bytes[at];
    if (c == '\\') {
      ++at;
      if (bytes.substr(at, 2) == "\r\n") ++at;
    } else if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && (c == ';' || c == '\n' || c == '\r')) {
      return endOfPhysicalLine(bytes, at);
    }
  }
  return quoted ? physicalEnd : bytes.size();
}

IniDocument::Line IniDocument::parsed(std::string_view raw, const std::string& group) const {
  Line line{Line::Kind::other, std::string(raw), group, {}, 0, 0};
  const std::size_t start = raw.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const auto [begin, end] = trimmedRange(raw, start, raw.size());
  const std::string_view text = raw.substr(begin, end - begin);
  if (text.empty() || text.front() == (_dialect == Dialect::settings ? ';' : '#')) return line;
  if (text.front() == '[') {
    const std::string_view inner = text.substr(1, text.find(']') - 1);
    const auto [nameBegin, nameEnd] = trimmedRange(inner, 0, inner.size());
    const std::string_view name = inner.substr(nameBegin, nameEnd - nameBegin);
    line.kind = Line::Kind::group;
    line.group = _dialect == Dialect::settings && isImplicitGroup(name) ? kImplicitGroup : name;
    return line;
  }
  const std::size_t equals = raw.find('=', begin);
  if (equals == std::string_view::npos) return line;
  const auto [keyBegin, keyEnd] = trimmedRange(raw, begin, equals);
  const auto [valueBegin, valueEnd] = trimmedRange(raw, equals + 1, raw.size());
  line.kind = Line::Kind::entry;
  line.key = raw.substr(keyBegin, keyEnd - keyBegin);
  line.valueBegin = valueBegin;
  line.valueEnd = valueEnd;
  return line;
}

IniDocument::Line IniDocument::entry(std::string_view group, std::string_view key, std::string_view rawValue) const {
  return parsed(std::string(key) + "=" + std::string(rawValue) + "\n", std::string(group));
}

const IniDocument::Line* IniDocument::find(std::string_view group, std::string_view key) const {
  const auto found = std::find_if(_lines.rbegin(), _lines.rend(), [&](const Line& line) {
    return line.kind == Line::Kind::entry && line.group == group && line.key == key;
  });
  return found == _lines.rend() ? nullptr : &*found;
}

std::optional<std::string> IniDocument::value(std::string_view group, std::string_view key) const {
  const Line* line = find(group, key);
  if (line == nullptr) return std::nullopt;
  return line->raw.substr(line->valueBegin, line->valueEnd - line->valueBegin);
}

void IniDocument::set(std::string_view group, std::string_view key, std::string_view rawValue) {
  IniDocument changed = *this;
  changed.place(group, key, rawValue);
  if (_dialect == Dialect::desktopEntry || changed.isReadAsItStands())
    _lines = std::move(changed._lines);
  else
    placeAtFront(group, key, rawValue);
}

// A quote or a last line that damage left open swallows what is put behind it.
bool IniDocument::isReadAsItStands() const {
  return IniDocument(bytes(), _dialect).entries() == entries();
}

std::vector<std::array<std::string, 3>> IniDocument::entries() const {
  std::vector<std::array<std::string, 3>> result;
  for (const Line& line : _lines)
    if (line.kind == Line::Kind::entry)
      result.push_back({line.group, line.key, line.raw.substr(line.valueBegin, line.valueEnd - line.valueBegin)});
  return result;
}

// What stands at the front is read whatever follows. Before the first group that is the implicit one. Entries of the
// key that stand further behind get another name: taken out, they would open and close quotes for others.
void IniDocument::placeAtFront(std::string_view group, std::string_view key, std::string_view rawValue) {
  constexpr std::string_view kDamaged = ".damaged";
  for (Line& line : _lines)
    if (line.kind == Line::Kind::entry && line.group == group && line.key == key)
      line.raw.insert(line.raw.find(key) + key.size(), kDamaged);
  std::string rest = bytes();
  const std::string_view mark = rest.starts_with(kByteOrderMark) ? kByteOrderMark : std::string_view();
  rest.erase(0, mark.size());
  std::string front = std::string(key) + "=" + std::string(rawValue) + "\n";
  if (group != kImplicitGroup)
    front = "[" + std::string(group) + "]\n" + front + "[" + std::string(kImplicitGroup) + "]\n";
  *this = IniDocument(std::string(mark) + front + rest, _dialect);
}

void IniDocument::place(std::string_view group, std::string_view key, std::string_view rawValue) {
  if (const Line* known = find(group, key)) {
    Line& line = _lines[static_cast<std::size_t>(known - _lines.data())];
    line.raw.replace(line.valueBegin, line.valueEnd - line.valueBegin, rawValue);
    line = parsed(line.raw, line.group);
    return;
  }
  const std::size_t at = insertionPoint(group);
  _lines.insert(_lines.begin() + static_cast<std::ptrdiff_t>(at), entry(group, key, rawValue));
}

// Behind the group's last entry and the comments that follow it; the group is opened at the end when there is none.
std::size_t IniDocument::insertionPoint(std::string_view group) {
  const auto last = std::find_if(_lines.rbegin(), _lines.rend(), [&](const Line& line) {
    return line.group == group && line.kind != Line::Kind::other;
  });
  auto at = static_cast<std::size_t>(last.base() - _lines.begin());
  if (last == _lines.rend()) {
    if (!_lines.empty()) _lines.push_back(parsed("\n", _lines.back().group));
    _lines.push_back(parsed("[" + std::string(group) + "]\n", {}));
    return _lines.size();
  }
  while (at < _lines.size() && _lines[at].group == group &&
         _lines[at].raw.find_first_not_of(kBlank) != std::string::npos)
    ++at;
  std::string& before = _lines[at - 1].raw;
  if (before.back() != '\n' && before.back() != '\r') before += '\n';
  return at;
}

void IniDocument::erase(std::string_view group, std::string_view key) {
  std::erase_if(_lines, [&](const Line& line) {
    return line.kind == Line::Kind::entry && line.group == group && line.key == key;
  });
}

std::vector<std::string> IniDocument::groups() const {
  std::vector<std::string> result;
  for (const Line& line : _lines)
    if (line.kind == Line::Kind::group) result.push_back(line.group);
  return result;
}

std::vector<std::string> IniDocument::keys(std::string_view group) const {
  std::vector<std::string> result;
  for (const Line& line : _lines)
    if (line.kind == Line::Kind::entry && line.group == group) result.push_back(line.key);
  return result;
}

std::string IniDocument::bytes() const {
  std::string result;
  for (const Line& line : _lines) result += line.raw;
  return result;
}

}  // namespace pellora
