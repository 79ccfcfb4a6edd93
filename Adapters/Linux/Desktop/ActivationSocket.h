// Lets a second launch reach the first one without a session bus: a datagram socket beside the lock file. A
// datagram means "show yourself" and holds the token to do it with, which may be empty. Needs the event loop of the
// main thread.
#pragma once

#include <QSocketNotifier>
#include <filesystem>
#include <memory>
#include <string>

#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Ports/AppInstance.h"

namespace pellora {

class ActivationSocket {
 public:
  // False when nobody listens at `path`.
  static bool send(const std::filesystem::path& path, const std::string& token);

  // Takes the place of whoever listened before. Does nothing where no socket can be made.
  ActivationSocket(std::filesystem::path path, AppInstance::Activated activated);
  ~ActivationSocket();
  ActivationSocket(const ActivationSocket&) = delete;
  ActivationSocket& operator=(const ActivationSocket&) = delete;

 private:
  std::filesystem::path _path;
  std::unique_ptr<QSocketNotifier> _notifier;
  FileDescriptor _socket;
};

}  // namespace pellora
