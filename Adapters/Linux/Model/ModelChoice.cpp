#include "Adapters/Linux/Model/ModelChoice.h"

#include <algorithm>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

using ChatCompletionsProtocol::ListedModel;

// Models that turn text into numbers stand in the same lists and answer no question.
bool canAnswer(const ListedModel& model) {
  const std::string name = text::lowercased(model.id);
  return name.find("embed") == std::string::npos && name.find("rerank") == std::string::npos;
}

}  // namespace

std::string ModelChoice::forwardedTrouble(const std::string& id) {
  return "runs the model " + id + " on another machine, so it is not used";
}

bool ModelChoice::isForwarded(std::string_view id) {
  const std::string name = text::lowercased(id);
  return name.ends_with("-cloud") || name.ends_with(":cloud");
}

ModelChoice ModelChoice::among(const std::vector<ListedModel>& listed, const std::string& wanted) {
  if (listed.empty()) return {{}, "lists no model"};
  if (!wanted.empty()) {
    const auto named = [&](const std::string& id) {
      return std::find_if(listed.begin(), listed.end(), [&](const ListedModel& model) { return model.id == id; });
    };
    auto found = named(wanted);
    if (found == listed.end()) found = named(wanted + ":latest");
    if (found == listed.end()) return {{}, "does not list the model " + wanted};
    if (isForwarded(found->id)) return {{}, forwardedTrouble(found->id)};
    return {*found, {}};
  }
  const auto isHere = [](const ListedModel& model) { return !isForwarded(model.id); };
  const auto fits = [&](const ListedModel& model) { return isHere(model) && canAnswer(model); };
  auto found = std::find_if(listed.begin(), listed.end(), fits);
  if (found == listed.end()) found = std::find_if(listed.begin(), listed.end(), isHere);
  if (found == listed.end()) return {{}, forwardedTrouble(listed.front().id)};
  return {*found, {}};
}

}  // namespace pellora
