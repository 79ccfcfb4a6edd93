// Which of the models that a server lists is asked: the wanted one; else the one in use; else one that is loaded and
// completes text; else the first that is not made for embedding or ranking. Models that run on another machine are
// never asked. Pure. Tested by Tests/Adapters/ModelProtocolTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace pellora {

struct ListedModel {
  std::string id;
  std::optional<std::int64_t> contextTokens;  // what the server serves with it now
  std::optional<std::int64_t> trainedTokens;  // what the model was made for
  std::optional<bool> completesText;          // absent when the server does not tell
  bool isLoaded = false;
  bool isRemote = false;  // forwarded to another machine
};

// Looks up the models of a list by name; the first entry with a name counts. Servers describe models on several pages,
// which may be long. The list must outlive this object and stay as it is.
class ModelsByName {
 public:
  explicit ModelsByName(std::vector<ListedModel>& models);

  // Null when there is none.
  ListedModel* find(const std::string& name) const;

 private:
  std::unordered_map<std::string_view, ListedModel*> _models;
};

struct ModelChoice {
  ListedModel model;    // without an id when there is none to ask
  std::string trouble;  // why there is none, as a clause about the server; else empty

  // An empty `wanted` means any. Names count as they are, but for the ":latest" that may be left out.
  static ModelChoice among(const std::vector<ListedModel>& listed, const std::string& wanted, const std::string& inUse);

  // Whether the name is one by which local servers list models that run elsewhere.
  static bool isForwarded(std::string_view id);

  static std::string forwardedTrouble(const std::string& id);
};

}  // namespace pellora
