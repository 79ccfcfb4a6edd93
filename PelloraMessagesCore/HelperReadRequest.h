// The signal by which the main app asks for a read at once. It carries nothing.
#pragma once

#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/NotificationCenter.h"

namespace pellora {

namespace HelperReadRequest {

inline constexpr char kName[] = "app.pellora.messages.readNow";

// False when the platform has no way to deliver it.
bool post(NotificationCenter& center);

// `handler` is called on the main thread for every signal, as long as the observer lives.
std::unique_ptr<NotificationObserver> observe(NotificationCenter& center, std::function<void()> handler);

}  // namespace HelperReadRequest

}  // namespace pellora
