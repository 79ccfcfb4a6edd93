// One message as the language work and the birthday finder see it: who wrote it and what.
#pragma once

#include <string>

namespace pellora {

struct MessageLine {
  bool fromMe = false;
  std::string text;

  bool operator==(const MessageLine&) const = default;
};

}  // namespace pellora
