#include "PelloraMessagesCore/Language/GeneratedContent.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace pellora {

namespace {

using Json = nlohmann::json;

constexpr int kDeepestNesting = 16;

// The parsed text, discarded when it is not JSON or nests too deeply.
Json parsed(std::string_view text) {
  const Json::parser_callback_t bounded = [](int depth, Json::parse_event_t, Json&) {
    if (depth > kDeepestNesting) throw std::length_error("Nested too deeply");
    return true;
  };
  try {
    return Json::parse(text, bounded, false);
  } catch (const std::exception&) {
    return Json(Json::value_t::discarded);
  }
}

// A whole number however it is written: 1 and 1.0 are the same in JSON.
std::optional<std::int64_t> wholeNumber(const Json& json) {
  if (json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX) return std::nullopt;
  if (json.is_number_integer()) return json.get<std::int64_t>();
  if (!json.is_number_float()) return std::nullopt;
  constexpr double kExact = 9007199254740992.0;  // every whole number below is a double of its own
  const auto number = json.get<double>();
  if (!(number > -kExact && number < kExact)) return std::nullopt;
  const auto whole = static_cast<std::int64_t>(number);
  if (static_cast<double>(whole) != number) return std::nullopt;
  return whole;
}

}  // namespace

struct GeneratedContent::Reader {
  const Json& json;

  std::optional<Value> operator()(const GeneratedInteger&) const {
    const std::optional<std::int64_t> number = wholeNumber(json);
    if (!number) return std::nullopt;
    return *number;
  }

  std::optional<Value> operator()(const GeneratedText&) const {
    if (!json.is_string()) return std::nullopt;
    return json.get<std::string>();
  }

  std::optional<Value> operator()(const GeneratedChoice& choice) const {
    if (!json.is_string()) return std::nullopt;
    const auto& word = json.get_ref<const std::string&>();
    if (std::find(choice.cases.begin(), choice.cases.end(), word) == choice.cases.end()) return std::nullopt;
    return word;
  }

  std::optional<Value> operator()(const GeneratedList& list) const {
    if (!json.is_array() || json.size() > list.maximumCount) return std::nullopt;
    std::vector<GeneratedContent> items;
    for (const Json& each : json) {
      std::optional<GeneratedContent> item = Reader{each}.object(*list.item);
      if (!item) return std::nullopt;
      items.push_back(std::move(*item));
    }
    return items;
  }

  std::optional<GeneratedContent> object(const GenerationSchema& schema) const {
    if (!json.is_object() || json.size() != schema.properties.size()) return std::nullopt;
    GeneratedContent content;
    for (const GeneratedProperty& property : schema.properties) {
      const auto found = json.find(property.name);
      if (found == json.end()) return std::nullopt;
      std::optional<Value> value = std::visit(Reader{*found}, property.type);
      if (!value) return std::nullopt;
      content._values.emplace(property.name, std::move(*value));
    }
    return content;
  }
};

std::optional<GeneratedContent> GeneratedContent::decode(const GenerationSchema& schema, std::string_view json) {
  const Json value = parsed(json);
  if (value.is_discarded()) return std::nullopt;
  return Reader{value}.object(schema);
}

}  // namespace pellora
