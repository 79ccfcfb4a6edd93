// How another thread reaches the main thread: it posts calls, and the event loop makes them in their order. The other
// thread touches nothing of Qt: calls go through a locked list and an event descriptor. Calls that were not made yet
// when the mailbox is destroyed are dropped.
// Made and destroyed on the main thread, where a QCoreApplication must exist. Tested by
// Tests/Adapters/SchedulerTests.cpp.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace pellora {

class MainThreadMailbox {
 public:
  // Throws std::bad_alloc when the process can have no more descriptors.
  MainThreadMailbox();
  ~MainThreadMailbox();
  MainThreadMailbox(const MainThreadMailbox&) = delete;
  MainThreadMailbox& operator=(const MainThreadMailbox&) = delete;

  // Any thread. The call may destroy the mailbox.
  void post(std::function<void()> call);

 private:
  void deliver();

  int _descriptor;
  std::unique_ptr<QSocketNotifier> _notifier;
  std::mutex _mutex;  // guards what follows
  std::vector<std::function<void()>> _posted;
};

}  // namespace pellora
