// Sleep and resume as a test announces them. A test may take the notice away.
#pragma once

#include <list>

#include "PelloraMessagesCore/Ports/SleepNotice.h"

namespace pellora {

class InMemorySleepNotice : public SleepNotice {
 public:
  std::unique_ptr<SleepObserver> observe(std::function<void()> aboutToSleep, std::function<void()> resumed) override;

  void announceSleep();
  void announceResume();
  void setAvailable(bool available) { _available = available; }
  std::size_t observerCount() const { return _entries->size(); }

 private:
  struct Entry {
    std::function<void()> aboutToSleep;
    std::function<void()> resumed;
  };
  using Entries = std::list<std::shared_ptr<Entry>>;
  class Handle;

  bool _available = true;
  std::shared_ptr<Entries> _entries = std::make_shared<Entries>();
};

}  // namespace pellora
