// The engine's state, as the views show it.
#pragma once

#include <string>

namespace pellora {

struct HelperEngineState {
  enum class Kind { failed, starting, needsFullDiskAccess, waitingForPellora, reading, idle };

  Kind kind = Kind::starting;
  std::string failure;  // of `failed`: the error's description

  static HelperEngineState failed(std::string description) { return {Kind::failed, std::move(description)}; }

  bool operator==(const HelperEngineState&) const = default;
};

}  // namespace pellora
