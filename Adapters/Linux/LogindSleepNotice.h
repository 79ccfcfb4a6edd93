// Suspend and resume as the login manager announces them on the system bus (signal PrepareForSleep). Without a
// system bus, or with an address that cannot be reached, observing gives null.
// Tested by Tests/Adapters/SleepNoticeTests.cpp.
#pragma once

#include "PelloraMessagesCore/Ports/SleepNotice.h"

namespace pellora {

class LogindSleepNotice : public SleepNotice {
 public:
  std::unique_ptr<SleepObserver> observe(std::function<void()> aboutToSleep, std::function<void()> resumed) override;
};

}  // namespace pellora
