// Notifications within one process, delivered at once while posting. A test may take the centre away.
#pragma once

#include <list>

#include "PelloraMessagesCore/Ports/NotificationCenter.h"

namespace pellora {

class InMemoryNotificationCenter : public NotificationCenter {
 public:
  bool post(const std::string& name) override;
  std::unique_ptr<NotificationObserver> observe(const std::string& name, std::function<void()> handler) override;

  void setAvailable(bool available) { _available = available; }
  std::size_t observerCount() const { return _entries->size(); }

 private:
  struct Entry {
    std::string name;
    std::function<void()> handler;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;
  class Handle;

  bool _available = true;
  std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

}  // namespace pellora
