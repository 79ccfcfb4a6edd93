// System-wide notifications: a name, no payload, delivered to every observer in every process of the user.
// Handlers are called on the main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace pellora {

// A registered observer; destroying it ends the observation.
class NotificationObserver {
 public:
  virtual ~NotificationObserver() = default;
};

class NotificationCenter {
 public:
  virtual ~NotificationCenter() = default;

  // False when the platform gives no way to post (no session bus, say).
  virtual bool post(const std::string& name) = 0;

  // Null when the platform gives no way to observe.
  virtual std::unique_ptr<NotificationObserver> observe(const std::string& name, std::function<void()> handler) = 0;
};

}  // namespace pellora
