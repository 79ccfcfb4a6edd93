// Which of the models that a server lists is asked: the wanted one, or the first that can answer and runs on this
// device. Pure. Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Adapters/Linux/Model/ChatCompletionsProtocol.h"

namespace pellora {

struct ModelChoice {
  ChatCompletionsProtocol::ListedModel model;  // without an id when there is none to ask
  std::string trouble;                         // why there is none, as a clause about the server; else empty

  // An empty `wanted` means the first. Names are taken as they stand, but for the ":latest" that may be left out.
  static ModelChoice among(const std::vector<ChatCompletionsProtocol::ListedModel>& listed, const std::string& wanted);

  // Whether the name is one by which local servers list models that run elsewhere.
  static bool isForwarded(std::string_view id);

  static std::string forwardedTrouble(const std::string& id);
};

}  // namespace pellora
