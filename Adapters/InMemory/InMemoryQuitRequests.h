// Requests to quit that a test makes.
#pragma once

#include "PelloraMessagesCore/Ports/QuitRequests.h"

namespace pellora {

class InMemoryQuitRequests : public QuitRequests {
 public:
  void observe(std::function<void()> quit) override { _quit = std::move(quit); }

  void request() {
    if (_quit) _quit();
  }

 private:
  std::function<void()> _quit;
};

}  // namespace pellora
