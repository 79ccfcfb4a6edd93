// Lets one read at a time work on the shared folder, in whatever process it runs. A port because platforms differ in
// their locks between processes. All calls on the main thread; none waits.
#pragma once

#include <memory>

namespace pellora {

// The right to read; destroying it, or the end of its process, gives it back.
class HeldReadLock {
 public:
  virtual ~HeldReadLock() = default;
};

class ReadLock {
 public:
  virtual ~ReadLock() = default;

  // Null while another read holds it. Where no lock can be made it is given to everybody: files are replaced whole, so
  // two reads cost work, not data.
  virtual std::unique_ptr<HeldReadLock> tryTake() = 0;
};

}  // namespace pellora
