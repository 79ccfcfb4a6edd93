// A message bus of a test's own, where nothing is and nothing gets started by itself. While it lives it is the
// session bus of this process and its children, whose home and base folders lie in a temporary folder.
#pragma once

#include <memory>
#include <string>

#include "ChildProcess.h"
#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"

namespace pellora::support {

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

}  // namespace pellora::support
