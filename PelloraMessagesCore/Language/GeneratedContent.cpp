#include "PelloraMessagesCore/Language/GeneratedContent.h"

#include <algorithm>
#include <charconv>

#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

// Without a bound small models write on until their answer is cut; the guards keep far less.
constexpr std::int64_t kLongestText = 400;  // characters

JsonValue objectSchema(const GenerationSchema& schema);

// The values that a property takes.
struct TypeSchema {
  JsonValue operator()(const GeneratedInteger&) const { return JsonValue::object({{"type", "integer"}}); }

  JsonValue operator()(const GeneratedText&) const {
    return JsonValue::object({{"type", "string"}, {"maxLength", kLongestText}});
  }

  JsonValue operator()(const GeneratedChoice& choice) const {
    return JsonValue::object({{"type", "string"}, {"enum", JsonValue::array(choice.cases)}});
  }

  JsonValue operator()(const GeneratedList& list) const {
    return JsonValue::object({{"type", "array"},
                              {"maxItems", static_cast<std::int64_t>(list.maximumCount)},
                              {"items", objectSchema(*list.item)}});
  }
};

JsonValue objectSchema(const GenerationSchema& schema) {
  JsonValue properties = JsonValue::object();
  JsonValue names = JsonValue::array();
  for (const GeneratedProperty& property : schema.properties) {
    JsonValue type = std::visit(TypeSchema(), property.type);
    if (!property.description.empty()) type.set("description", property.description);
    properties.set(property.name, std::move(type));
    names.append(property.name);
  }
  return JsonValue::object({{"type", "object"},
                            {"properties", std::move(properties)},
                            {"required", std::move(names)},
                            {"additionalProperties", false}});
}

}  // namespace

std::string GenerationSchema::jsonSchema() const {
  return objectSchema(*this).dump();
}

namespace {

constexpr JsonLimits kLimits{.size = std::size_t{2} << 20, .depth = 16};
constexpr std::string_view kFence = "```";
constexpr std::string_view kApostrophe = "\u2019";

// "```json", a line break, the answer, "```".
std::string_view withoutFence(std::string_view answer) {
  answer = text::trimmed(answer);
  if (!answer.starts_with(kFence)) return answer;
  answer.remove_prefix(std::min(answer.find('\n'), answer.size()));
  answer = text::trimmed(answer);
  if (answer.ends_with(kFence)) answer.remove_suffix(kFence.size());
  return answer;
}

std::optional<std::int64_t> writtenNumber(std::string_view digits) {
  digits = text::trimmed(digits);
  std::int64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

bool isLetterAt(std::string_view text, std::size_t position) {
  const auto byte = static_cast<unsigned char>(position < text.size() ? text[position] : ' ');
  return byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

}  // namespace

struct GeneratedContent::Reader {
  const JsonValue& json;

  std::optional<Value> operator()(const GeneratedInteger&) const {
    std::optional<std::int64_t> number = json.integer();
    if (const std::string* const text = json.string()) number = writtenNumber(*text);
    if (!number) return std::nullopt;
    return *number;
  }

  std::optional<Value> operator()(const GeneratedText&) const {
    if (json.isNull()) return std::string();
    if (json.string() == nullptr) return std::nullopt;
    return *json.string();
  }

  std::optional<Value> operator()(const GeneratedChoice& choice) const {
    if (std::find(choice.cases.begin(), choice.cases.end(), json.text()) == choice.cases.end()) return std::nullopt;
    return json.text();
  }

  std::optional<Value> operator()(const GeneratedList& list) const {
    if (!json.isArray()) return std::nullopt;
    std::vector<GeneratedContent> items;
    for (const JsonValue& each : json.elements()) {
      if (items.size() == list.maximumCount) break;
      if (std::optional<GeneratedContent> item = Reader{each}.object(*list.item)) items.push_back(std::move(*item));
    }
    return items;
  }

  std::optional<GeneratedContent> object(const GenerationSchema& schema) const {
    if (!json.isObject()) return std::nullopt;
    GeneratedContent content;
    for (const GeneratedProperty& property : schema.properties) {
      if (!json.contains(property.name)) return std::nullopt;
      std::optional<Value> value = std::visit(Reader{json[property.name]}, property.type);
      if (!value) return std::nullopt;
      content._values.emplace(property.name, std::move(*value));
    }
    return content;
  }
};

std::optional<GeneratedContent> GeneratedContent::decode(const GenerationSchema& schema, std::string_view answer) {
  const std::optional<JsonValue> value = JsonValue::parse(withoutFence(answer), kLimits);
  if (!value) return std::nullopt;
  return Reader{*value}.object(schema);
}

std::string withTypographicApostrophes(std::string_view words, std::string_view name) {
  const bool isNameStraight = name.find('\'') != std::string_view::npos;
  std::string result;
  for (std::size_t at = 0; at < words.size(); ++at) {
    if (isNameStraight && words.substr(at).starts_with(name)) {
      result += name;
      at += name.size() - 1;
    } else if (words[at] == '\'' && at > 0 && isLetterAt(words, at - 1) && isLetterAt(words, at + 1)) {
      result += kApostrophe;
    } else {
      result += words[at];
    }
  }
  return result;
}

}  // namespace pellora
