#include "PelloraMessagesCore/Json/JsonValue.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "PelloraMessagesCore/Json/JsonReader.h"
#include "PelloraMessagesCore/Json/JsonWriter.h"

namespace pellora {

namespace {

const JsonValue kNull;

// Of members with the same key the last one counts.
void dropRepeats(JsonValue::Object& members) {
  std::set<std::string_view> keys;
  std::vector<bool> isRepeated(members.size());
  for (std::size_t index = members.size(); index-- > 0;) isRepeated[index] = !keys.insert(members[index].key).second;
  if (keys.size() == members.size()) return;
  std::size_t index = 0;
  std::erase_if(members, [&](const auto&) { return isRepeated[index++]; });
}

// Builds the value from the library's events. The frames are the open objects and arrays, the outermost first.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
 public:
  Builder(JsonValue& root, std::size_t depth) : _root(root), _depth(depth) {}

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override {
    return std::in_range<std::int64_t>(value) ? add(static_cast<std::int64_t>(value)) : add(static_cast<double>(value));
  }
  bool number_float(number_float_t value, const string_t&) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t&) override { return false; }

  bool start_object(std::size_t) override { return open(true); }
  bool key(string_t& key) override {
    _frames.back().members.push_back({std::move(key), nullptr});
    return true;
  }
  bool end_object() override {
    JsonValue::Object members = std::move(_frames.back().members);
    dropRepeats(members);
    _frames.pop_back();
    return add(std::move(members));
  }

  bool start_array(std::size_t) override { return open(false); }
  bool end_array() override {
    JsonValue::Array elements = std::move(_frames.back().elements);
    _frames.pop_back();
    return add(std::move(elements));
  }

  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  struct Frame {
    bool isObject = false;
    JsonValue::Object members;
    JsonValue::Array elements;
  };

  bool open(bool isObject) {
    if (_frames.size() == _depth) return false;
    _frames.push_back({isObject, {}, {}});
    return true;
  }

  bool add(JsonValue value) {
    if (_frames.empty())
      _root = std::move(value);
    else if (_frames.back().isObject)
      _frames.back().members.back().value = std::move(value);
    else
      _frames.back().elements.push_back(std::move(value));
    return true;
  }

  JsonValue& _root;
  std::size_t _depth;
  std::vector<Frame> _frames;
};

void put(JsonWriter& json, const JsonValue& value, JsonValue::Order order) {
  if (value.isObject()) {
    std::vector<const JsonValue::Member*> members;
    for (const JsonValue::Member& member : value.members()) members.push_back(&member);
    if (order == JsonValue::Order::sorted)
      std::sort(members.begin(), members.end(), [](const auto* a, const auto* b) { return a->key < b->key; });
    json.beginObject();
    for (const JsonValue::Member* member : members) {
      json.foreignKey(member->key);
      put(json, member->value, order);
    }
    json.endObject();
  } else if (value.isArray()) {
    json.beginArray();
    for (const JsonValue& element : value.elements()) put(json, element, order);
    json.endArray();
  } else if (const std::string* text = value.string()) {
    json.string(*text);
  } else if (const auto truth = value.boolean()) {
    json.boolean(*truth);
  } else if (const auto number = value.number()) {
    const auto whole = value.integer();
    whole ? json.integer(*whole) : json.number(*number);
  } else {
    json.null();
  }
}

}  // namespace

JsonValue::JsonValue(std::nullptr_t) {}
JsonValue::JsonValue(double value) : _value(value) {}
JsonValue::JsonValue(std::string text) : _value(std::move(text)) {}
JsonValue::JsonValue(std::string_view text) : _value(std::string(text)) {}
JsonValue::JsonValue(const char* text) : _value(std::string(text)) {}
JsonValue::JsonValue(Array elements) : _value(std::move(elements)) {}
JsonValue::JsonValue(Object members) : _value(std::move(members)) {}
JsonValue::JsonValue(const JsonValue& other) = default;
JsonValue::JsonValue(JsonValue&& other) noexcept = default;
JsonValue& JsonValue::operator=(const JsonValue& other) = default;
JsonValue& JsonValue::operator=(JsonValue&& other) noexcept = default;
JsonValue::~JsonValue() = default;

bool JsonValue::operator==(const JsonValue& other) const = default;

JsonValue JsonValue::object(std::initializer_list<Member> members) {
  return Object(members);
}

JsonValue JsonValue::array() {
  return Array();
}

std::optional<JsonValue> JsonValue::parse(std::string_view text, const JsonLimits& limits) {
  if (text.size() > limits.size) return std::nullopt;
  std::optional<JsonValue> value(std::in_place);
  Builder builder(*value, limits.depth);
  if (!nlohmann::json::sax_parse(text, &builder)) value.reset();
  return value;
}

std::string JsonValue::dump(Order order) const {
  JsonWriter json;
  put(json, *this, order);
  return std::move(json).take();
}

std::optional<bool> JsonValue::boolean() const {
  const bool* value = std::get_if<bool>(&_value);
  return value != nullptr ? std::optional(*value) : std::nullopt;
}

std::optional<std::int64_t> JsonValue::integer() const {
  if (const auto* whole = std::get_if<std::int64_t>(&_value)) return *whole;
  const double* real = std::get_if<double>(&_value);
  if (real == nullptr || !(*real >= -kLargestExactInteger && *real <= kLargestExactInteger)) return std::nullopt;
  const auto whole = static_cast<std::int64_t>(*real);
  return static_cast<double>(whole) == *real ? std::optional(whole) : std::nullopt;
}

std::optional<double> JsonValue::number() const {
  if (const auto* whole = std::get_if<std::int64_t>(&_value)) return static_cast<double>(*whole);
  const double* real = std::get_if<double>(&_value);
  return real != nullptr ? std::optional(*real) : std::nullopt;
}

const std::string& JsonValue::text() const {
  static const std::string kEmpty;
  const std::string* value = string();
  return value != nullptr ? *value : kEmpty;
}

const JsonValue::Array& JsonValue::elements() const {
  static const Array kNone;
  const Array* elements = std::get_if<Array>(&_value);
  return elements != nullptr ? *elements : kNone;
}

const JsonValue::Object& JsonValue::members() const {
  static const Object kNone;
  const Object* members = std::get_if<Object>(&_value);
  return members != nullptr ? *members : kNone;
}

const JsonValue* JsonValue::find(std::string_view key) const {
  for (const Member& member : members())
    if (member.key == key) return &member.value;
  return nullptr;
}

const JsonValue& JsonValue::operator[](std::string_view key) const {
  const JsonValue* found = find(key);
  return found != nullptr ? *found : kNull;
}

JsonValue& JsonValue::set(std::string key, JsonValue value) {
  if (!isObject()) _value = Object();
  Object& members = std::get<Object>(_value);
  const auto found = std::find_if(members.begin(), members.end(), [&](const Member& each) { return each.key == key; });
  if (found == members.end())
    members.push_back({std::move(key), std::move(value)});
  else
    found->value = std::move(value);
  return *this;
}

JsonValue& JsonValue::append(JsonValue value) {
  if (!isArray()) _value = Array();
  std::get<Array>(_value).push_back(std::move(value));
  return *this;
}

void JsonTree::close() {
  JsonValue::Member closed = std::move(_open.back());
  _open.pop_back();
  add(std::move(closed.key), std::move(closed.value));
}

void JsonTree::add(std::string key, JsonValue value) {
  if (_open.empty())
    _whole = std::move(value);
  else if (JsonValue& around = _open.back().value; around.isObject())
    around.set(std::move(key), std::move(value));
  else
    around.append(std::move(value));
}

}  // namespace pellora
