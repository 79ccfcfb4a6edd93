// Reading of foreign JSON where anything may be missing or of another type. Include it in sources only.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace pellora {

namespace JsonReading {

// Null when `value` is no object or has no such key.
inline const nlohmann::json& member(const nlohmann::json& value, const char* key) {
  static const nlohmann::json kAbsent;
  if (!value.is_object()) return kAbsent;
  const auto found = value.find(key);
  return found == value.end() ? kAbsent : *found;
}

// Empty when it is no string.
inline std::string textOf(const nlohmann::json& value) {
  return value.is_string() ? value.get<std::string>() : std::string();
}

// Absent unless it is a whole number above zero.
inline std::optional<long long> positive(const nlohmann::json& value) {
  if (!value.is_number_integer()) return std::nullopt;
  const auto number = value.get<long long>();
  return number > 0 ? std::optional(number) : std::nullopt;
}

}  // namespace JsonReading

}  // namespace pellora
