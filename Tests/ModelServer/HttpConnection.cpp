#include "Tests/ModelServer/HttpConnection.h"

#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace pellora::modelserver {

namespace {

constexpr std::size_t kMostHeaderBytes = 64 * 1024;

// The value of a header field, whose name ends with a colon; empty without it.
std::string field(const std::string& header, const std::string& name) {
  for (std::size_t at = header.find("\r\n"); at != std::string::npos; at = header.find("\r\n", at + 2)) {
    const std::size_t begin = at + 2 + name.size();
    if (strncasecmp(header.c_str() + at + 2, name.c_str(), name.size()) != 0) continue;
    const std::size_t first = std::min(header.find_first_not_of(' ', begin), header.size());
    return header.substr(first, std::min(header.find("\r\n", first), header.size()) - first);
  }
  return {};
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
    if (headerEnd != std::string::npos)
      wanted =
          headerEnd + 4 + std::strtoul(field(received.substr(0, headerEnd), "Content-Length:").c_str(), nullptr, 10);
    if (headerEnd == std::string::npos && received.size() > kMostHeaderBytes) return std::nullopt;
  }
  const std::size_t space = received.find(' ');
  const std::size_t secondSpace = received.find(' ', space + 1);
  if (space == std::string::npos || secondSpace == std::string::npos || secondSpace > headerEnd) return std::nullopt;
  HttpRequest request;
  request.method = received.substr(0, space);
  request.path = received.substr(space + 1, secondSpace - space - 1);
  request.body = received.substr(headerEnd + 4);
  request.authorization = field(received.substr(0, headerEnd), "Authorization:");
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
  if (response.isBroken) return true;
  if (response.isEndless) {
    if (!sendAll("HTTP/1.1 200 Answer\r\nTransfer-Encoding: chunked\r\n\r\n5;x=")) return false;
    const std::string extension(16384, 'x');
    while (sendAll(extension)) continue;
    return false;
  }
  std::string header = "HTTP/1.1 " + std::to_string(response.status) + " Answer\r\nContent-Type: application/json\r\n";
  if (!response.location.empty()) header += "Location: " + response.location + "\r\n";
  header += "Content-Length: " + std::to_string(response.body.size()) + "\r\nConnection: close\r\n\r\n";
  const std::string_view body = response.body;
  const bool isSent = sendAll(header + std::string(response.cutAfter < 0 ? body : body.substr(0, response.cutAfter)));
  shutdown(_descriptor, SHUT_WR);
  return isSent;
}

}  // namespace pellora::modelserver
