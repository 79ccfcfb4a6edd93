// Requests of the system that the process end.
#pragma once

#include <functional>

namespace pellora {

class QuitRequests {
 public:
  virtual ~QuitRequests() = default;

  // Calls `quit` on the main thread for each request.
  virtual void observe(std::function<void()> quit) = 0;
};

}  // namespace pellora
