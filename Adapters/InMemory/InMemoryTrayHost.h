// A place for tray items that a test opens when it likes.
#pragma once

#include <utility>

#include "PelloraMessagesCore/Ports/TrayHost.h"

namespace pellora {

class InMemoryTrayHost : public TrayHost {
 public:
  void observe(std::function<void()> appeared) override {
    _appeared = std::move(appeared);
    if (_isThere) appear();
  }

  void appear() {
    _isThere = true;
    const std::function<void()> appeared = std::exchange(_appeared, nullptr);
    if (appeared) appeared();
  }

 private:
  std::function<void()> _appeared;
  bool _isThere = false;
};

}  // namespace pellora
