#include "Companion/People/CsvRecords.h"

namespace pellora {

void CsvRecords::takeLineBreak() {
  const bool isPair = _text[_position] == '\r' && _position + 1 < _text.size() && _text[_position + 1] == '\n';
  _position += isPair ? 2 : 1;
  ++_line;
}

void CsvRecords::takeQuoted(std::string& field, Record& record) {
  ++_position;
  while (_position < _text.size()) {
    if (isAtLineBreak()) {
      takeLineBreak();
      field += '\n';
      continue;
    }
    if (_text[_position] != '"') {
      field += _text[_position++];
      continue;
    }
    const bool isDoubled = _position + 1 < _text.size() && _text[_position + 1] == '"';
    _position += isDoubled ? 2 : 1;
    if (!isDoubled) return;
    field += '"';
  }
  record.hasOpenQuote = true;
}

std::string CsvRecords::takeField(Record& record) {
  std::string field;
  if (_position < _text.size() && _text[_position] == '"') takeQuoted(field, record);
  while (_position < _text.size() && _text[_position] != _separator && !isAtLineBreak()) field += _text[_position++];
  return field;
}

std::optional<CsvRecords::Record> CsvRecords::next() {
  if (_position >= _text.size()) return std::nullopt;
  Record record;
  record.line = _line;
  record.fields.push_back(takeField(record));
  while (_position < _text.size() && _text[_position] == _separator) {
    ++_position;
    record.fields.push_back(takeField(record));
  }
  if (_position < _text.size()) takeLineBreak();
  return record;
}

}  // namespace pellora
