// SIGTERM, SIGINT and SIGHUP as requests to quit, handed from the signal handler to the event loop through a pipe.
// One per process; needs the event loop of the main thread. Tested by Tests/Adapters/DesktopBusTests.cpp.
#pragma once

#include <QSocketNotifier>
#include <memory>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

class SignalQuitRequests : public QuitRequests {
 public:
  ~SignalQuitRequests() override;

  void observe(std::function<void()> quit) override;

 private:
  std::unique_ptr<QSocketNotifier> _notifier;
  FileDescriptor _reading;
  FileDescriptor _writing;
};

}  // namespace pellora
