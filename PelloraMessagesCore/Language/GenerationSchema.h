// The description of a structured answer: an object with named properties in the order in which they are to be
// generated. The JSON schema that model servers take is made from it, so that a type is described once.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace pellora {

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

}  // namespace pellora
