#include <algorithm>
#include <limits>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/ExchangeFields.h"
#include "PelloraMessagesCore/Json/JsonReader.h"

namespace pellora::ExchangeCoding {

namespace {

using ExchangeFields::Field;
using ExchangeFields::withFields;

bool get(JsonReader& json, std::string& value) {
  return json.readString(value);
}

bool get(JsonReader& json, std::int64_t& value) {
  return json.readInteger(value);
}

bool get(JsonReader& json, int& value) {
  std::int64_t wide = 0;
  if (!json.readInteger(wide)) return false;
  value = static_cast<int>(wide);
  return value == wide;
}

bool get(JsonReader& json, bool& value) {
  return json.readBool(value);
}

bool get(JsonReader& json, Uuid& value) {
  std::string_view text;
  if (!json.readText(text)) return false;
  const std::optional<Uuid> parsed = Uuid::parse(text);
  if (parsed) value = *parsed;
  return parsed.has_value();
}

bool get(JsonReader& json, Instant& value) {
  std::string_view text;
  if (!json.readText(text)) return false;
  const std::optional<Instant> parsed = parseDate(text);
  if (parsed) value = *parsed;
  return parsed.has_value();
}

template <class Enum, std::size_t count>
bool getName(JsonReader& json, const std::array<std::string_view, count>& names, Enum& value) {
  std::string_view text;
  if (!json.readText(text)) return false;
  const auto found = std::find(names.begin(), names.end(), text);
  if (found == names.end()) return false;
  value = static_cast<Enum>(found - names.begin());
  return true;
}

bool get(JsonReader& json, MessagesNews::Kind& value) {
  return getName(json, kNewsKindNames, value);
}

bool get(JsonReader& json, HelperHeartbeat::Status& value) {
  return getName(json, ExchangeFields::kStatusNames, value);
}

template <class Value>
bool get(JsonReader& json, std::optional<Value>& value);

template <class Element>
bool get(JsonReader& json, std::vector<Element>& values);

template <class Value>
constexpr bool kIsRequired = true;
template <class Value>
constexpr bool kIsRequired<std::optional<Value>> = false;

// What has a table of fields.
template <class Given>
concept HasFields = requires(Given& record) { withFields(record, [](const auto&...) {}); };

template <HasFields Record>
bool get(JsonReader& json, Record& record) {
  return withFields(record, [&]<class... Values>(const Field<Values>&... fields) {
    // One bit a field, in the table's order.
    constexpr std::uint32_t kAll = (std::uint32_t{1} << sizeof...(Values)) - 1;
    std::uint32_t missing = kAll;
    const bool isWellFormed = json.readObject([&](std::string_view key) {
      bool isRead = false;
      std::uint32_t bit = 1;
      const auto tryField = [&](const auto& field) {
        if (field.key == key) {
          missing &= ~bit;
          isRead = get(json, field.value);
          return true;
        }
        bit <<= 1;
        return false;
      };
      return (tryField(fields) || ...) ? isRead : json.skipValue();
    });
    std::uint32_t required = 0;
    std::uint32_t bit = 1;
    ((required |= kIsRequired<Values> ? bit : 0, bit <<= 1), ...);
    return isWellFormed && (missing & required) == 0;
  });
}

template <class Value>
bool get(JsonReader& json, std::optional<Value>& value) {
  value.reset();
  return json.readNull() || get(json, value.emplace());
}

template <class Element>
bool get(JsonReader& json, std::vector<Element>& values) {
  values.clear();
  return json.readArray([&] { return get(json, values.emplace_back()); });
}

}  // namespace

template <class Value>
std::optional<Value> decode(std::string_view json) {
  JsonReader reader(json);
  std::optional<Value> value(std::in_place);
  if (!get(reader, *value) || !reader.isAtEnd()) value.reset();
  return value;
}

template std::optional<HelperPeopleFile> decode(std::string_view json);
template std::optional<HelperHeartbeat> decode(std::string_view json);
template std::optional<HelperDayNotes> decode(std::string_view json);
template std::optional<HelperState> decode(std::string_view json);
template std::optional<MessagesLatelyRecord> decode(std::string_view json);

}  // namespace pellora::ExchangeCoding
