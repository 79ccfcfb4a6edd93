// What there is to say about the language model of this device, for the people who set it up.
#pragma once

#include <optional>
#include <string>

namespace pellora {

struct ModelReport {
  bool isAvailable = false;
  std::string model;                       // the one that is asked; empty when none is chosen
  std::string where;                       // the socket or address; empty when there is none
  std::string server;                      // "Ollama" or "OpenAI-compatible"; empty when not available
  std::optional<long long> contextTokens;  // absent when the server does not tell
  std::string reason;                      // why it is not available, one sentence; empty when it is
  std::string trouble;                     // the same as a clause: "is still loading its model"
};

}  // namespace pellora
