#include "Adapters/Linux/Desktop/ActivationSocket.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <optional>
#include <string>

namespace pellora {

namespace {

std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
  const std::string text = path.string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (text.size() >= sizeof address.sun_path) return std::nullopt;
  std::memcpy(address.sun_path, text.c_str(), text.size());
  return address;
}

FileDescriptor makeSocket() {
  return FileDescriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

}  // namespace

bool ActivationSocket::send(const std::filesystem::path& path) {
  const auto address = addressOf(path);
  const FileDescriptor socket = makeSocket();
  const char byte = 1;
  return address && socket.isOpen() &&
         sendto(socket.number(), &byte, 1, 0, reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 1;
}

ActivationSocket::ActivationSocket(std::filesystem::path path, std::function<void()> activated)
    : _path(std::move(path)), _socket(makeSocket()) {
  const auto address = addressOf(_path);
  if (!address || !_socket.isOpen()) return;
  unlink(_path.c_str());
  if (bind(_socket.number(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) return;
  _notifier = std::make_unique<QSocketNotifier>(_socket.number(), QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated,
                   [descriptor = _socket.number(), activated = std::move(activated)] {
                     char byte = 0;
                     while (recv(descriptor, &byte, 1, 0) > 0) continue;
                     activated();
                   });
}

ActivationSocket::~ActivationSocket() {
  if (_notifier) unlink(_path.c_str());
}

}  // namespace pellora
