#include "PelloraMessagesCore/Language/GenerationSchema.h"

#include <string_view>

namespace pellora {

namespace {

// Without a bound small models write on until their answer is cut; the guards keep far less.
constexpr std::size_t kLongestText = 400;  // characters

std::string jsonText(std::string_view text) {
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string result = "\"";
  for (const char byte : text) {
    if (byte == '"' || byte == '\\')
      result += {'\\', byte};
    else if (static_cast<unsigned char>(byte) < 0x20)
      result +=
          {'\\', 'u', '0', '0', kHex[static_cast<std::size_t>(byte) >> 4], kHex[static_cast<std::size_t>(byte) & 15]};
    else
      result += byte;
  }
  return result + "\"";
}

std::string member(std::string_view key, const std::string& value) {
  return jsonText(key) + ":" + value;
}

template <class Items, class Text>
std::string joined(const Items& items, Text text) {
  std::string result;
  for (const auto& item : items) result += (result.empty() ? "" : ",") + text(item);
  return result;
}

// The members that say what values a property takes.
struct TypeMembers {
  std::string operator()(const GeneratedInteger&) const { return member("type", jsonText("integer")); }

  std::string operator()(const GeneratedText&) const {
    return member("type", jsonText("string")) + "," + member("maxLength", std::to_string(kLongestText));
  }

  std::string operator()(const GeneratedChoice& choice) const {
    return member("type", jsonText("string")) + "," + member("enum", "[" + joined(choice.cases, jsonText) + "]");
  }

  std::string operator()(const GeneratedList& list) const {
    return member("type", jsonText("array")) + "," + member("maxItems", std::to_string(list.maximumCount)) + "," +
           member("items", list.item->jsonSchema());
  }
};

std::string propertySchema(const GeneratedProperty& property) {
  std::string result = "{" + std::visit(TypeMembers(), property.type);
  if (!property.description.empty()) result += "," + member("description", jsonText(property.description));
  return result + "}";
}

}  // namespace

std::string GenerationSchema::jsonSchema() const {
  const std::string members = joined(
      properties, [](const GeneratedProperty& property) { return member(property.name, propertySchema(property)); });
  const std::string names =
      joined(properties, [](const GeneratedProperty& property) { return jsonText(property.name); });
  return "{" + member("type", jsonText("object")) + "," + member("properties", "{" + members + "}") + "," +
         member("required", "[" + names + "]") + "," + member("additionalProperties", "false") + "}";
}

}  // namespace pellora
