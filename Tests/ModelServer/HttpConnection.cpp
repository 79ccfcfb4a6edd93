#include "Tests/ModelServer/HttpConnection.h"

#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace pellora::modelserver {

namespace {

constexpr std::size_t kMostHeaderBytes = 64 * 1024;

std::size_t contentLength(const std::string& header) {
  constexpr const char* kName = "\r\ncontent-length:";
  for (std::size_t at = header.find("\r\n"); at != std::string::npos; at = header.find("\r\n", at + 2)) {
    if (strncasecmp(header.c_str() + at, kName, 17) == 0) return std::strtoul(header.c_str() + at + 17, nullptr, 10);
  }
  return 0;
}

}  // namespace

HttpConnection::~HttpConnection() {
  close(_descriptor);
}

std::optional<HttpRequest> HttpConnection::read() {
  std::string received;
  std::size_t headerEnd = std::string::npos;
  std::size_t wanted = 0;
  while (headerEnd == std::string::npos || received.size() < wanted) {
    char buffer[16384];
    const ssize_t count = recv(_descriptor, buffer, sizeof buffer, 0);
    if (count <= 0) return std::nullopt;
    received.append(buffer, static_cast<std::size_t>(count));
    if (headerEnd != std::string::npos) continue;
    headerEnd = received.find("\r\n\r\n");
    if (headerEnd != std::string::npos) wanted = headerEnd + 4 + contentLength(received.substr(0, headerEnd));
    if (headerEnd == std::string::npos && received.size() > kMostHeaderBytes) return std::nullopt;
  }
  const std::size_t space = received.find(' ');
  const std::size_t secondSpace = received.find(' ', space + 1);
  if (space == std::string::npos || secondSpace == std::string::npos || secondSpace > headerEnd) return std::nullopt;
  HttpRequest request;
  request.method = received.substr(0, space);
  request.path = received.substr(space + 1, secondSpace - space - 1);
  request.body = received.substr(headerEnd + 4);
  return request;
}

// Watches the client during a delay, as a server does that stops generating when nobody waits any more.
bool HttpConnection::staysWhileWaiting(int milliseconds) const {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    if (left <= 0) return true;
    pollfd watched{_descriptor, POLLRDHUP, 0};
    if (poll(&watched, 1, static_cast<int>(left)) > 0) return false;
  }
}

bool HttpConnection::sendAll(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::send(_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool HttpConnection::send(const HttpResponse& response) {
  if (!staysWhileWaiting(response.delayMilliseconds)) return false;
  std::string header = "HTTP/1.1 " + std::to_string(response.status) + " Answer\r\nContent-Type: application/json\r\n";
  if (!response.location.empty()) header += "Location: " + response.location + "\r\n";
  header += "Content-Length: " + std::to_string(response.body.size()) + "\r\nConnection: close\r\n\r\n";
  const std::string_view body = response.body;
  const bool isSent = sendAll(header + std::string(response.cutAfter < 0 ? body : body.substr(0, response.cutAfter)));
  shutdown(_descriptor, SHUT_WR);
  return isSent;
}

}  // namespace pellora::modelserver
