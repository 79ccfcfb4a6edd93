#include "PelloraMessagesCore/Language/GenerationSchema.h"

#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

namespace {

// Without a bound small models write on until their answer is cut; the guards keep far less.
constexpr std::int64_t kLongestText = 400;  // characters

JsonValue objectSchema(const GenerationSchema& schema);

// What values a property takes.
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

}  // namespace pellora
