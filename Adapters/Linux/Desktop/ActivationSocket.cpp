#include "Adapters/Linux/Desktop/ActivationSocket.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <optional>

namespace pellora {

namespace {

constexpr std::size_t kLongestToken = 512;  // bytes

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

bool ActivationSocket::send(const std::filesystem::path& path, const std::string& token) {
  const auto address = addressOf(path);
  const FileDescriptor socket = makeSocket();
  const std::string_view sent = std::string_view(token).substr(0, kLongestToken);
  return address && socket.isOpen() &&
         sendto(socket.number(), sent.data(), sent.size(), 0, reinterpret_cast<const sockaddr*>(&*address),
                sizeof *address) == static_cast<ssize_t>(sent.size());
}

ActivationSocket::ActivationSocket(std::filesystem::path path, AppInstance::Activated activated)
    : _path(std::move(path)), _socket(makeSocket()) {
  const auto address = addressOf(_path);
  if (!address || !_socket.isOpen()) return;
  unlink(_path.c_str());
  if (bind(_socket.number(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) return;
  _notifier = std::make_unique<QSocketNotifier>(_socket.number(), QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated,
                   [descriptor = _socket.number(), activated = std::move(activated)] {
                     std::array<char, kLongestToken> bytes;
                     std::string token;
                     ssize_t size = 0;
                     while ((size = recv(descriptor, bytes.data(), bytes.size(), 0)) >= 0)
                       token.assign(bytes.data(), static_cast<std::size_t>(size));
                     activated(token);
                   });
}

ActivationSocket::~ActivationSocket() {
  if (_notifier) unlink(_path.c_str());
}

}  // namespace pellora
