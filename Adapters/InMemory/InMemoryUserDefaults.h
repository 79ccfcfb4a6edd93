// Settings that end with the process. A test may make storing fail.
#pragma once

#include <map>
#include <string>

#include "PelloraMessagesCore/Ports/UserDefaults.h"

namespace pellora {

class InMemoryUserDefaults : public UserDefaults {
 public:
  std::optional<std::int64_t> integer(const std::string& key) const override { return value<std::int64_t>(key); }
  std::optional<std::string> text(const std::string& key) const override { return value<std::string>(key); }
  std::optional<Instant> date(const std::string& key) const override { return value<Instant>(key); }
  bool boolean(const std::string& key) const override { return value<bool>(key).value_or(false); }
  void store(const std::vector<Change>& changes) override;

  void setFailing(bool failing) { _failing = failing; }
  // Keys in the order in which they were stored, repeats included.
  const std::vector<std::string>& history() const { return _history; }

 private:
  template <class Type>
  std::optional<Type> value(const std::string& key) const {
    const auto found = _values.find(key);
    if (found == _values.end() || !std::holds_alternative<Type>(found->second)) return std::nullopt;
    return std::get<Type>(found->second);
  }

  std::map<std::string, Value> _values;
  std::vector<std::string> _history;
  bool _failing = false;
};

}  // namespace pellora
