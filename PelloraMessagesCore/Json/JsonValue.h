// A JSON value (RFC 8259) as a tree: for foreign files, answers of model servers, schemas and what the companion
// prints. Our own records have a faster way past the tree, ExchangeCoding. The members of an object keep the order
// in which they were read or set; of a repeated key the last value counts.
// Reading is total: any bytes give a value or nothing, in time and memory linear in their number, and nothing nests
// deeper than the limits say, so that walking through a value may recurse. Looking for a member or an element that
// is not there, or in a value of another type, finds null.
// Tested by Tests/Core/JsonValueTests.cpp.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace pellora {

struct JsonLimits {
  std::size_t size = 64 << 20;  // bytes of the text
  std::size_t depth = 64;       // objects and arrays within one another
};

class JsonValue {
 public:
  struct Member;
  using Array = std::vector<JsonValue>;
  using Object = std::vector<Member>;

  JsonValue(std::nullptr_t = nullptr);
  JsonValue(std::same_as<bool> auto value);
  JsonValue(std::integral auto value)
    requires(!std::same_as<decltype(value), bool>);
  JsonValue(double value);
  JsonValue(std::string text);
  JsonValue(std::string_view text);
  JsonValue(const char* text);
  JsonValue(Array elements);
  JsonValue(Object members);
  // Null when absent.
  template <class Value>
  JsonValue(std::optional<Value> value) : JsonValue(value ? JsonValue(std::move(*value)) : JsonValue()) {}
  JsonValue(const JsonValue& other);
  JsonValue(JsonValue&& other) noexcept;
  JsonValue& operator=(const JsonValue& other);
  JsonValue& operator=(JsonValue&& other) noexcept;
  ~JsonValue();

  // The members as they are given; keys must differ.
  static JsonValue object(std::initializer_list<Member> members = {});

  // An array of what `make` gives for each item.
  template <class Items, class Make>
  static JsonValue array(const Items& items, Make make);
  template <class Items>
  static JsonValue array(const Items& items);
  static JsonValue array();

  // Absent when the text is not one well-formed value in valid UTF-8 (a byte order mark at the front is skipped),
  // exceeds a limit or holds a number beyond the range of a double.
  static std::optional<JsonValue> parse(std::string_view text, const JsonLimits& limits = {});

  // On one line without added white space; text that is not valid UTF-8 is repaired.
  enum class Order { declared, sorted };
  std::string dump(Order order = Order::declared) const;

  bool isNull() const { return std::holds_alternative<std::monostate>(_value); }
  bool isObject() const { return std::holds_alternative<Object>(_value); }
  bool isArray() const { return std::holds_alternative<Array>(_value); }

  // Absent when the value has another type.
  std::optional<bool> boolean() const;
  // A number that is whole and fits, however it is written (1, 1.0, 1e3); beyond 2^53 with digits only.
  std::optional<std::int64_t> integer() const;
  std::optional<double> number() const;
  const std::string* string() const { return std::get_if<std::string>(&_value); }
  // Empty when it is not a string.
  const std::string& text() const;

  // Empty for values of another type.
  const Array& elements() const;
  const Object& members() const;

  // Null when the value is not an object or has no such member.
  const JsonValue& operator[](std::string_view key) const;
  bool contains(std::string_view key) const { return find(key) != nullptr; }

  // Replaces the member or adds it at the end; a value that is not an object becomes one.
  JsonValue& set(std::string key, JsonValue value);
  // Adds an element; a value that is not an array becomes one.
  JsonValue& append(JsonValue value);

  bool operator==(const JsonValue& other) const;

 private:
  const JsonValue* find(std::string_view key) const;

  std::variant<std::monostate, bool, std::int64_t, double, std::string, Array, Object> _value;
};

struct JsonValue::Member {
  std::string key;
  JsonValue value;

  bool operator==(const Member& other) const = default;
};

// Makes a tree by the calls of a JsonWriter, for code that can write either.
class JsonTree {
 public:
  void beginObject() { _open.push_back({std::exchange(_key, {}), JsonValue::object()}); }
  void endObject() { close(); }
  void beginArray() { _open.push_back({std::exchange(_key, {}), JsonValue::array()}); }
  void endArray() { close(); }

  void key(std::string_view name) { _key = name; }
  void string(std::string_view value) { add(std::exchange(_key, {}), value); }
  void plainString(std::string_view value) { string(value); }
  void integer(std::int64_t value) { add(std::exchange(_key, {}), value); }
  void boolean(bool value) { add(std::exchange(_key, {}), value); }

  JsonValue take() && { return std::move(_whole); }

 private:
  void close();
  void add(std::string key, JsonValue value);

  std::vector<JsonValue::Member> _open;  // objects and arrays, the outermost first
  std::string _key;
  JsonValue _whole;
};

JsonValue::JsonValue(std::same_as<bool> auto value) : _value(value) {}
JsonValue::JsonValue(std::integral auto value)
  requires(!std::same_as<decltype(value), bool>)
    : _value(static_cast<std::int64_t>(value)) {}

template <class Items, class Make>
JsonValue JsonValue::array(const Items& items, Make make) {
  Array elements;
  for (const auto& item : items) elements.push_back(make(item));
  return elements;
}

template <class Items>
JsonValue JsonValue::array(const Items& items) {
  return array(items, [](const auto& item) { return JsonValue(item); });
}

}  // namespace pellora
