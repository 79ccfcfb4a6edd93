#include "Adapters/Linux/Model/ModelEndpoint.h"

#include <arpa/inet.h>
#include <sys/un.h>

#include <charconv>
#include <cstring>
#include <filesystem>
#include <optional>

#include "Adapters/Linux/Files/XdgFolders.h"

namespace pellora {

namespace {

constexpr std::string_view kHttp = "http://";
constexpr std::string_view kUnix = "unix:";
constexpr std::string_view kDefaultSocket = "app.pellora.messages/model.sock";
constexpr const char* kForms = "use http://127.0.0.1:PORT or unix:/path/to.sock.";

ModelEndpoint refused(std::string why) {
  ModelEndpoint endpoint;
  endpoint.refusal = std::move(why);
  return endpoint;
}

ModelEndpoint onSocket(std::string path) {
  if (path.size() >= sizeof(sockaddr_un::sun_path)) return refused("The model's socket path is too long: " + path);
  ModelEndpoint endpoint;
  endpoint.url = "http://localhost";
  endpoint.where = "unix:" + path;
  endpoint.socketPath = std::move(path);
  return endpoint;
}

ModelEndpoint parseSocket(std::string_view path) {
  if (path.starts_with("///")) path.remove_prefix(2);
  if (path.size() < 2 || path[0] != '/' || path[1] == '/' || path.find('\0') != std::string_view::npos)
    return refused("The model's socket needs an absolute path: " + std::string(kForms));
  return onSocket(std::string(path));
}

bool equalsIgnoringAsciiCase(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
    if (c != lower[i]) return false;
  }
  return true;
}

// The spellings of a host in a URL that mean this device. inet_pton takes four plain decimal numbers and nothing
// of the short, octal and hexadecimal forms that other parsers understand.
std::optional<std::string> loopbackHost(const std::string& host) {
  if (equalsIgnoringAsciiCase(host, "localhost")) return "localhost";
  in_addr v4{};
  if (inet_pton(AF_INET, host.c_str(), &v4) == 1) {
    if ((ntohl(v4.s_addr) >> 24) != 127) return std::nullopt;
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &v4, text, sizeof text);
  }
  if (host.size() < 2 || host.front() != '[' || host.back() != ']') return std::nullopt;
  in6_addr v6{};
  if (inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &v6) != 1) return std::nullopt;
  if (std::memcmp(&v6, &in6addr_loopback, sizeof v6) != 0) return std::nullopt;
  return "[::1]";
}

std::optional<unsigned> parsePort(std::string_view digits) {
  unsigned port = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, port);
  if (error != std::errc() || stop != end || digits.size() > 5 || port < 1 || port > 65535) return std::nullopt;
  return port;
}

ModelEndpoint parseHttp(std::string_view rest) {
  const std::size_t slash = rest.find('/');
  const std::string_view path = slash == std::string_view::npos ? std::string_view() : rest.substr(slash);
  if (!path.empty() && path != "/" && path != "/v1" && path != "/v1/")
    return refused("The model's address has a path of its own: " + std::string(kForms));

  const std::string_view authority = rest.substr(0, slash);
  const std::size_t bracket = authority.rfind(']');
  const std::size_t colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
  const std::optional<std::string> host = loopbackHost(std::string(authority.substr(0, colon)));
  if (!host) return refused("The model's address is not on this device, so it is not used: " + std::string(kForms));

  unsigned port = 80;
  if (colon != std::string_view::npos) {
    const std::optional<unsigned> given = parsePort(authority.substr(colon + 1));
    if (!given) return refused("The model's address has no valid port: " + std::string(kForms));
    port = *given;
  }
  ModelEndpoint endpoint;
  endpoint.where = endpoint.url = std::string(kHttp) + *host + ":" + std::to_string(port);
  if (*host == "localhost") endpoint.pinnedHost = "localhost:" + std::to_string(port) + ":127.0.0.1,[::1]";
  return endpoint;
}

}  // namespace

ModelEndpoint ModelEndpoint::parse(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return refused("The model's address is not understood.");
  if (text.starts_with(kUnix)) return parseSocket(text.substr(kUnix.size()));
  if (text.size() > kHttp.size() && equalsIgnoringAsciiCase(text.substr(0, kHttp.size()), kHttp))
    return parseHttp(text.substr(kHttp.size()));
  return refused("The model's address is not understood: " + std::string(kForms));
}

ModelEndpoint ModelEndpoint::defaultSocket() {
  const auto folder = XdgFolders::runtime();
  if (!folder)
    return refused("No model is set up: say which with \"pellora-companion model use URL\", or set PELLORA_MODEL_URL.");
  const std::filesystem::path socket = *folder / kDefaultSocket;
  std::error_code ignored;
  for (const std::filesystem::path& holder : {*folder, socket.parent_path()})
    if (std::filesystem::exists(holder, ignored) && !RuntimeFolder::isOwn(holder))
      return refused("The folder " + holder.string() + " belongs to somebody else, so no model is looked for in it.");
  return onSocket(socket.string());
}

}  // namespace pellora
