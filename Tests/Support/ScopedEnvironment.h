// Environment variables of this process for the time of one test.
#pragma once

#include <QByteArray>
#include <map>
#include <optional>
#include <string>

namespace pellora::support {

class ScopedEnvironment {
 public:
  ScopedEnvironment() = default;
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() {
    for (const auto& [name, value] : _old)
      if (value)
        qputenv(name.c_str(), *value);
      else
        qunsetenv(name.c_str());
  }

  void set(const std::string& name, const std::string& value) {
    remember(name);
    qputenv(name.c_str(), QByteArray::fromStdString(value));
  }
  void unset(const std::string& name) {
    remember(name);
    qunsetenv(name.c_str());
  }

 private:
  void remember(const std::string& name) {
    std::optional<QByteArray> value;
    if (qEnvironmentVariableIsSet(name.c_str())) value = qgetenv(name.c_str());
    _old.emplace(name, value);
  }

  std::map<std::string, std::optional<QByteArray>> _old;
};

}  // namespace pellora::support
