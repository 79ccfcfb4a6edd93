// The records of a table in text form (RFC 4180): fields between separators, quoted where they hold separators,
// quotes (doubled) or line breaks of any kind. A quote inside an unquoted field is an ordinary character. Total.
// Tested by Tests/Companion/CsvPeopleTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

class CsvRecords {
 public:
  struct Record {
    std::size_t line = 0;  // where it begins, from 1
    std::vector<std::string> fields;
    bool hasOpenQuote = false;  // the text ended inside quotes
  };

  // The text must outlive the reader.
  CsvRecords(std::string_view text, char separator) : _text(text), _separator(separator) {}

  // Absent at the end.
  std::optional<Record> next();

 private:
  std::string takeField(Record& record);
  void takeQuoted(std::string& field, Record& record);
  bool isAtLineBreak() const { return _text[_position] == '\r' || _text[_position] == '\n'; }
  void takeLineBreak();

  std::string_view _text;
  char _separator;
  std::size_t _position = 0;
  std::size_t _line = 1;
};

}  // namespace pellora
