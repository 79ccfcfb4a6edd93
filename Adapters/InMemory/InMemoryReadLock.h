// A read lock within one process.
#pragma once

#include "PelloraMessagesCore/Ports/ReadLock.h"

namespace pellora {

class InMemoryReadLock : public ReadLock {
 public:
  std::unique_ptr<HeldReadLock> tryTake() override;

 private:
  std::weak_ptr<void> _holder;
};

}  // namespace pellora
