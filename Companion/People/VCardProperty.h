// One content line of a vCard, taken apart: group.NAME;parameters:value. Parameters come bare ("HOME"), named
// ("TYPE=HOME,WORK") and quoted; the group and all parameters that say nothing about the spelling are dropped.
// Tested by Tests/Companion/VCardPeopleTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

struct VCardProperty {
  std::string name;     // upper case
  std::string charset;  // empty when not declared
  bool isQuotedPrintable = false;
  std::string_view value;  // as it stands, in the line that was parsed

  // Absent for a line without a colon.
  static std::optional<VCardProperty> parse(std::string_view line);

  // The value's text in UTF-8, still with its backslashes.
  std::string text() const;

  // Split at separators without a backslash before them; the parts keep their backslashes.
  static std::vector<std::string_view> components(std::string_view text, char separator);
  static std::string unescaped(std::string_view text);
};

}  // namespace pellora
