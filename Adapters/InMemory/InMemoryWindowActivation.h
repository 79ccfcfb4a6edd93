// Remembers what the app asked for.
#pragma once

#include <vector>

#include "PelloraMessagesCore/Ports/WindowActivation.h"

namespace pellora {

class InMemoryWindowActivation : public WindowActivation {
 public:
  void useToken(const std::string& token) override { _tokens.push_back(token); }
  void bringToFront(std::uint64_t window) override { _windows.push_back(window); }

  const std::vector<std::string>& tokens() const { return _tokens; }
  const std::vector<std::uint64_t>& windows() const { return _windows; }

 private:
  std::vector<std::string> _tokens;
  std::vector<std::uint64_t> _windows;
};

}  // namespace pellora
