// The syntax of vCards: logical lines, and each taken apart into group.NAME;parameters:value. Total, linear.
// Tested by Tests/Companion/VCardPeopleTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Companion/Output/ForeignText.h"

namespace pellora {

// Line breaks of all kinds, folded lines joined (in version 2.1 the white space at the fold belongs to the text, later
// it does not), and the soft line breaks of quoted-printable values.
class VCardLines {
 public:
  // The text must outlive the reader.
  explicit VCardLines(std::string_view text) : _rest(text) {}

  // Empty lines are left out; absent at the end.
  std::optional<std::string> next();

  // For the lines that follow.
  void setKeepsSpaceAtFolds(bool keeps) { _keepsSpaceAtFolds = keeps; }

  // Whether the last line read was the text's last and had no line break after it.
  bool endedWithoutLineBreak() const { return _endedWithoutLineBreak; }

 private:
  std::string_view takePhysicalLine();
  bool joinNext(std::string& line);

  std::string_view _rest;
  bool _keepsSpaceAtFolds = false;
  bool _endedWithoutLineBreak = false;
};

// Parameters come bare ("HOME"), named ("TYPE=HOME,WORK") and quoted; the group and all parameters that say nothing
// about the spelling or the type are dropped.
struct VCardProperty {
  std::string name;                                   // upper case
  std::string charset;                                // empty when not declared
  const char* usualCharset = foreign_text::kWestern;  // of text that is not UTF-8 and declares nothing
  bool isQuotedPrintable = false;
  std::vector<std::string> types;  // "CELL", "work"; bare parameters among them
  std::string_view value;          // unchanged, within the line that was parsed

  // Absent for a line without a colon.
  static std::optional<VCardProperty> parse(std::string_view line);

  // The value's text in UTF-8, still with its backslashes.
  std::string text() const;

  // Split at separators without a backslash before them; the parts keep their backslashes.
  static std::vector<std::string_view> components(std::string_view text, char separator);
  static std::string unescaped(std::string_view text);
};

}  // namespace pellora
