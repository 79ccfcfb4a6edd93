#include "Adapters/Linux/Files/XdgGroupContainer.h"

#include "Adapters/Linux/Files/XdgFolders.h"

namespace pellora {

std::optional<std::filesystem::path> XdgGroupContainer::folder(const std::string& groupIdentifier) const {
  const auto data = XdgFolders::data();
  if (!data) return std::nullopt;
  return *data / groupIdentifier;
}

}  // namespace pellora
