#include "Adapters/Linux/XdgGroupContainer.h"

#include "Adapters/Linux/XdgFolders.h"

namespace pellora {

std::optional<std::filesystem::path> XdgGroupContainer::folder(const std::string& groupIdentifier) const {
  const auto data = XdgFolders::data();
  if (!data) return std::nullopt;
  return *data / groupIdentifier;
}

}  // namespace pellora
