// A message bus of a test's own, and a keyring on it.
#pragma once

#include <memory>
#include <string>

#include "ChildProcess.h"
#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"

namespace pellora::support {

// A message bus of a test's own, where nothing is and nothing gets started by itself. While it lives it is the
// session bus of this process and its children, whose home and base folders lie in a temporary folder.
class PrivateBus {
 public:
  // Whether the bus program is installed; tests skip when it is not.
  static bool isPossible() { return isInstalled("dbus-daemon"); }

  PrivateBus();

  bool isRunning() const { return !_address.empty(); }
  const std::string& address() const { return _address; }
  const std::filesystem::path& home() const { return _folder.path(); }
  ScopedEnvironment& environment() { return _environment; }

  // Whether somebody owns this name now.
  bool hasName(const std::string& name) const;

 private:
  TemporaryFolder _folder;
  ScopedEnvironment _environment;
  std::unique_ptr<ChildProcess> _daemon;
  std::string _address;
};

// A real keyring daemon on a private bus, with its files in that bus's home. Stopping and starting it again is what
// the end of one login and the start of another are.
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
