#include "PelloraMessagesCore/HelperExchange.h"

#include <utility>

namespace pellora::HelperExchange {

std::string latelyContext(const std::string& name) {
  return "lately:" + name;
}

std::optional<std::filesystem::path> folderURL(const GroupContainer& container) {
  return container.folder(kGroupIdentifier);
}

}  // namespace pellora::HelperExchange

namespace pellora::HelperReadRequest {

bool post(NotificationCenter& center) {
  return center.post(kName);
}

std::unique_ptr<NotificationObserver> observe(NotificationCenter& center, std::function<void()> handler) {
  return center.observe(kName, std::move(handler));
}

}  // namespace pellora::HelperReadRequest
