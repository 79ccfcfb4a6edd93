#include "EventLoopWait.h"

#include <QCoreApplication>
#include <QTimer>
#include <chrono>
#include <functional>

namespace pellora::support {

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  QTimer wake;  // what another process does may come without an event
  wake.start(std::chrono::milliseconds(5));
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

}  // namespace pellora::support
