#include "PelloraMessagesCore/HelperReadRequest.h"

#include <utility>

namespace pellora::HelperReadRequest {

bool post(NotificationCenter& center) {
  return center.post(kName);
}

std::unique_ptr<NotificationObserver> observe(NotificationCenter& center, std::function<void()> handler) {
  return center.observe(kName, std::move(handler));
}

}  // namespace pellora::HelperReadRequest
