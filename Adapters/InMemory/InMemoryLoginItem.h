// A login item that a test looks at and may make refuse.
#pragma once

#include <utility>

#include "PelloraMessagesCore/Ports/LoginItem.h"

namespace pellora {

class InMemoryLoginItem : public LoginItem {
 public:
  bool isEnabled() const override { return _enabled; }
  void enable() override {
    ++_enableCalls;
    if (!_refusing) _enabled = true;
  }
  void disable() override {
    if (!_refusing) _enabled = false;
  }

  void observe(std::function<void()> changed) override { _changed = std::move(changed); }

  // As another program does it.
  void changeElsewhere(bool enabled) {
    _enabled = enabled;
    if (_changed) _changed();
  }
  void setRefusing(bool refusing) { _refusing = refusing; }
  int enableCalls() const { return _enableCalls; }

 private:
  bool _enabled = false;
  bool _refusing = false;
  int _enableCalls = 0;
  std::function<void()> _changed;
};

}  // namespace pellora
