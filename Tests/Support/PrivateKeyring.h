// A real keyring daemon on a private bus, with its files in that bus's home. Stopping and starting it again is what
// the end of one login and the start of another are.
#pragma once

#include <memory>

#include "PrivateBus.h"

namespace pellora::support {

class PrivateKeyring {
 public:
  static bool isPossible() { return PrivateBus::isPossible() && isInstalled("gnome-keyring-daemon"); }

  explicit PrivateKeyring(PrivateBus& bus) : _bus(bus) {}

  // Whether the daemon answers on the bus. `unlocked` creates and opens the login collection.
  bool start(bool unlocked);
  void stop();

  // Locks the login collection of the running daemon.
  bool lock();
  // Unlocks it as a login does, with the password.
  bool unlock();

  // All items of the login collection that the daemon tells of, by object path; locked ones included.
  std::vector<std::string> items() const;

 private:
  PrivateBus& _bus;
  std::unique_ptr<ChildProcess> _daemon;
};

}  // namespace pellora::support
