// The logical lines of a vCard text: line breaks of all kinds, folded lines joined (in version 2.1 the white space at
// the fold belongs to the text, later it does not), and the soft line breaks of quoted-printable values. Total, linear.
// Tested by Tests/Companion/VCardPeopleTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora {

class VCardLines {
 public:
  // The text must outlive the reader.
  explicit VCardLines(std::string_view text) : _rest(text) {}

  // Empty lines are left out; absent at the end.
  std::optional<std::string> next();

  // For the lines that follow.
  void setKeepsSpaceAtFolds(bool keeps) { _keepsSpaceAtFolds = keeps; }

  // Whether the last line read was the text's last and had no line break behind it.
  bool endedWithoutLineBreak() const { return _endedWithoutLineBreak; }

 private:
  std::string_view takePhysicalLine();
  bool joinNext(std::string& line);

  std::string_view _rest;
  bool _keepsSpaceAtFolds = false;
  bool _endedWithoutLineBreak = false;
};

}  // namespace pellora
