// Structured answers of a language model: the description that is asked with, and reading an answer against it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace pellora {

// The description of a structured answer: an object with named properties in the order in which they are to be
// generated. The JSON schema that model servers take is made from it, so that a type is described once.
struct GenerationSchema;

struct GeneratedInteger {};

struct GeneratedText {};

// One of a fixed list of words.
struct GeneratedChoice {
  std::vector<std::string> cases;
};

// A list of objects of one shape, at most `maximumCount` of them.
struct GeneratedList {
  std::shared_ptr<const GenerationSchema> item;
  std::size_t maximumCount = 0;
};

struct GeneratedProperty {
  std::string name;
  std::string description;  // empty: none
  std::variant<GeneratedInteger, GeneratedText, GeneratedChoice, GeneratedList> type;
};

struct GenerationSchema {
  std::string name;
  std::vector<GeneratedProperty> properties;

  // One line of JSON: every property required, no others allowed, properties in the declared order, lists with
  // maxItems, strings with a maxLength well under 2000 that small models need in order to end.
  std::string jsonSchema() const;
};

// A structured answer of a language model, read against the description that it was asked to follow. Reading is
// total: whatever the answer's bytes are, they give a value or "absent", in time and memory linear in their number.
// Answers are taken as far as they are good: a fence of back-ticks around the JSON is taken off, keys that nobody
// asked for are passed over, null is the empty text, and a number written as text is the number. An item of a list
// that still does not fit is dropped alone, and of too many items the first ones count. Absent when the
// text is not a JSON object, or when a property is missing or has another type. The length of texts is not checked.
// Tested by Tests/Core/GeneratedContentTests.cpp.
class GeneratedContent {
 public:
  static std::optional<GeneratedContent> decode(const GenerationSchema& schema, std::string_view answer);

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

// A model's own words with typographic apostrophes (U+2019) for straight ones between letters, as the platform's own
// model writes them and the guards look for them. A name that is spelled with a straight one keeps it.
std::string withTypographicApostrophes(std::string_view words, std::string_view name);

}  // namespace pellora
