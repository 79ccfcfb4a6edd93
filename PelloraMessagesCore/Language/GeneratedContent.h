// A structured answer of a language model, read against the description that it was asked to follow. Reading is
// total: whatever the answer's bytes are, they give a value or "absent", in time and memory bounded by their number.
// Absent is what is not JSON, nests deeper than a description can, lacks a property, has one more, or has a value of
// another type, a choice that is not offered or more items than asked for. The length of texts is not looked at.
// Tested by Tests/Core/GeneratedContentTests.cpp.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "PelloraMessagesCore/Language/GenerationSchema.h"

namespace pellora {

class GeneratedContent {
 public:
  static std::optional<GeneratedContent> decode(const GenerationSchema& schema, std::string_view json);

  // The value of a property that the schema declares with this type; std::out_of_range or std::bad_variant_access
  // for any other.
  std::int64_t integer(const std::string& name) const { return std::get<std::int64_t>(_values.at(name)); }
  const std::string& text(const std::string& name) const { return std::get<std::string>(_values.at(name)); }
  const std::vector<GeneratedContent>& items(const std::string& name) const {
    return std::get<std::vector<GeneratedContent>>(_values.at(name));
  }

 private:
  struct Reader;
  using Value = std::variant<std::int64_t, std::string, std::vector<GeneratedContent>>;
  std::map<std::string, Value> _values;
};

}  // namespace pellora
