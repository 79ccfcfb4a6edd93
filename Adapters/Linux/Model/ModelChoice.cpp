#include "Adapters/Linux/Model/ModelChoice.h"

#include <algorithm>
#include <array>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {

namespace {

// Parts of the names of models that turn text into numbers or order texts: they are in the same lists and answer no
// question.
constexpr std::array<std::string_view, 12> kOtherUses = {
    "embed", "rerank", "bge-", "bge_", "minilm", "gte-", "e5-", "mpnet", "paraphrase", "colbert", "splade", "whisper"};

bool completesText(const ListedModel& model) {
  if (model.completesText) return *model.completesText;
  const std::string name = text::lowercased(model.id);
  return std::none_of(kOtherUses.begin(), kOtherUses.end(),
                      [&](std::string_view use) { return name.find(use) != std::string::npos; });
}

bool runsElsewhere(const ListedModel& model) {
  return model.isRemote || ModelChoice::isForwarded(model.id);
}

}  // namespace

ModelsByName::ModelsByName(std::vector<ListedModel>& models) {
  for (ListedModel& model : models) _models.emplace(model.id, &model);
}

ListedModel* ModelsByName::find(const std::string& name) const {
  const auto found = _models.find(name);
  return found == _models.end() ? nullptr : found->second;
}

std::string ModelChoice::forwardedTrouble(const std::string& id) {
  return "runs the model " + id + " on another machine, so it is not used";
}

bool ModelChoice::isForwarded(std::string_view id) {
  const std::string name = text::lowercased(id);
  return name.ends_with("-cloud") || name.ends_with(":cloud");
}

ModelChoice ModelChoice::among(const std::vector<ListedModel>& listed, const std::string& wanted,
                               const std::string& inUse) {
  if (listed.empty()) return {{}, "lists no model"};
  const auto named = [&](const std::string& id) {
    return std::find_if(listed.begin(), listed.end(), [&](const ListedModel& model) { return model.id == id; });
  };
  if (!wanted.empty()) {
    auto found = named(wanted);
    if (found == listed.end()) found = named(wanted + ":latest");
    if (found == listed.end()) return {{}, "does not list the model " + wanted};
    if (runsElsewhere(*found)) return {{}, forwardedTrouble(found->id)};
    return {*found, {}};
  }
  const auto fits = [](const ListedModel& model) { return !runsElsewhere(model) && completesText(model); };
  if (const auto used = named(inUse); used != listed.end() && fits(*used)) return {*used, {}};
  auto found = std::find_if(listed.begin(), listed.end(),
                            [&](const ListedModel& model) { return model.isLoaded && fits(model); });
  if (found == listed.end()) found = std::find_if(listed.begin(), listed.end(), fits);
  if (found != listed.end()) return {*found, {}};
  const auto elsewhere = std::find_if(listed.begin(), listed.end(), runsElsewhere);
  if (elsewhere != listed.end()) return {{}, forwardedTrouble(elsewhere->id)};
  return {{}, "lists only models that are made for embedding or ranking"};
}

}  // namespace pellora
