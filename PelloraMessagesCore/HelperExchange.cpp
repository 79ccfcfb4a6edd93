#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora::HelperExchange {

std::string latelyContext(const std::string& name) {
  return "lately:" + name;
}

std::optional<std::filesystem::path> folderURL(const GroupContainer& container) {
  return container.folder(kGroupIdentifier);
}

}  // namespace pellora::HelperExchange
