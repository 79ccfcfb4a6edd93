#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/ExchangeFields.h"
#include "PelloraMessagesCore/Json/JsonWriter.h"

namespace pellora::ExchangeCoding {

namespace {

using ExchangeFields::Field;
using ExchangeFields::withFields;

constexpr std::size_t kUsualDaySize = 512;  // bytes of one day record's JSON

void put(JsonWriter& json, const std::string& value) {
  json.string(value);
}

void put(JsonWriter& json, std::int64_t value) {
  json.integer(value);
}

void put(JsonWriter& json, int value) {
  json.integer(value);
}

void put(JsonWriter& json, bool value) {
  json.boolean(value);
}

void put(JsonWriter& json, const Uuid& value) {
  json.plainString(value.toString());
}

void put(JsonWriter& json, Instant value) {
  const auto characters = dateCharacters(value);
  json.plainString({characters.data(), characters.size()});
}

void put(JsonWriter& json, MessagesNews::Kind value) {
  json.plainString(kNewsKindNames[static_cast<std::size_t>(value)]);
}

void put(JsonWriter& json, HelperHeartbeat::Status value) {
  json.plainString(ExchangeFields::kStatusNames[static_cast<std::size_t>(value)]);
}

template <class Element>
void put(JsonWriter& json, const std::vector<Element>& values);

// What has a table of fields.
template <class Given>
concept HasFields = requires(Given& record) { withFields(record, [](const auto&...) {}); };

template <HasFields Record>
void put(JsonWriter& json, const Record& record);

template <class Value>
void putField(JsonWriter& json, const Field<Value>& field) {
  json.key(field.key);
  put(json, field.value);
}

template <class Value>
void putField(JsonWriter& json, const Field<const std::optional<Value>>& field) {
  if (!field.value) return;
  json.key(field.key);
  put(json, *field.value);
}

template <HasFields Record>
void put(JsonWriter& json, const Record& record) {
  json.beginObject();
  withFields(record, [&](const auto&... field) { (putField(json, field), ...); });
  json.endObject();
}

template <class Element>
void put(JsonWriter& json, const std::vector<Element>& values) {
  json.beginArray();
  for (const Element& value : values) put(json, value);
  json.endArray();
}

template <class Record>
std::string encodeRecord(const Record& record, std::size_t usualSize) {
  JsonWriter json;
  json.reserve(usualSize);
  put(json, record);
  return std::move(json).take();
}

}  // namespace

std::string encode(const HelperPeopleFile& value) {
  return encodeRecord(value, value.people.size() * kUsualDaySize);
}

std::string encode(const HelperHeartbeat& value) {
  return encodeRecord(value, kUsualDaySize);
}

std::string encode(const HelperDayNotes& value) {
  return encodeRecord(value, value.days.size() * kUsualDaySize);
}

std::string encode(const HelperState& value) {
  return encodeRecord(value,
                      (1 + value.analysed.size() + value.waiting.size() + 4 * value.lately.size()) * kUsualDaySize);
}

std::string encode(const MessagesLatelyRecord& value) {
  return encodeRecord(value, 4 * kUsualDaySize);
}

}  // namespace pellora::ExchangeCoding
