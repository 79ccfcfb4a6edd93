// A preference that a test changes; unknown until it does.
#pragma once

#include <optional>

#include "PelloraMessagesCore/Ports/Appearance.h"

namespace pellora {

class InMemoryAppearance : public Appearance {
 public:
  void observe(std::function<void(bool prefersDark)> changed) override {
    _changed = std::move(changed);
    if (_prefersDark) _changed(*_prefersDark);
  }

  void prefer(bool dark) {
    _prefersDark = dark;
    if (_changed) _changed(dark);
  }

 private:
  std::optional<bool> _prefersDark;
  std::function<void(bool)> _changed;
};

}  // namespace pellora
