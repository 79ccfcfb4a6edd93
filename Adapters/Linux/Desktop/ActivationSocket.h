// How a second launch reaches the first one without a session bus: a datagram socket beside the lock file. Any
// datagram means "show yourself". Needs the event loop of the main thread.
#pragma once

#include <QSocketNotifier>
#include <filesystem>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class ActivationSocket {
 public:
  // False when nobody listens at `path`.
  static bool send(const std::filesystem::path& path);

  // Takes the place of whoever listened before. Does nothing where no socket can be made.
  ActivationSocket(std::filesystem::path path, std::function<void()> activated);
  ~ActivationSocket();
  ActivationSocket(const ActivationSocket&) = delete;
  ActivationSocket& operator=(const ActivationSocket&) = delete;

 private:
  std::filesystem::path _path;
  std::unique_ptr<QSocketNotifier> _notifier;
  FileDescriptor _socket;
};

}  // namespace pellora
