// Runs the event loop until something has come true.
#pragma once

#include <chrono>
#include <functional>

namespace pellora::support {

// Whether it came true within the time.
bool waitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds patience = std::chrono::milliseconds(10'000));

}  // namespace pellora::support
