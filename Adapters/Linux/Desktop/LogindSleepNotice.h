// Suspend and resume as the login manager announces them on the system bus (signal PrepareForSleep). Without a
// system bus, or with an address that cannot be reached, observing gives null.
// Tested by Tests/Adapters/SleepNoticeTests.cpp.
#pragma once

#include <string>

#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

class LogindSleepNotice : public SleepNotice {
 public:
  // At $DBUS_SYSTEM_BUS_ADDRESS, else where system buses listen.
  LogindSleepNotice();
  explicit LogindSleepNotice(std::string busAddress) : _busAddress(std::move(busAddress)) {}

  std::unique_ptr<SleepObserver> observe(std::function<void()> aboutToSleep, std::function<void()> resumed) override;

 private:
  std::string _busAddress;
};

}  // namespace pellora
