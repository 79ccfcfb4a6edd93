// Where the model server listens: a Unix socket or a port of this device's loopback interface. Texts go nowhere
// else, so an address is rebuilt from its checked parts and never handed on as it was written; no name is looked
// up, "localhost" means 127.0.0.1 or ::1. Anything that is not this device gives an endpoint that only says why
// it is refused.
// Tested by Tests/Adapters/ModelEndpointTests.cpp.
#pragma once

#include <string>
#include <string_view>

namespace pellora {

struct ModelEndpoint {
  std::string url;         // scheme, host and port without a path; empty when refused
  std::string socketPath;  // absolute path of a Unix socket; empty for a port
  std::string pinnedHost;  // for libcurl: the addresses of the host's name; empty when it is an address
  std::string where;       // for people: the socket's path or the address with its port; empty when there is none
  std::string key;         // for "Authorization: Bearer"; empty: none
  std::string refusal;     // why it is not used, one sentence; empty when it is

  bool isUsable() const { return refusal.empty(); }

  // `http://127.0.0.1:PORT`, `http://localhost:PORT`, `http://[::1]:PORT` (with or without "/" or "/v1" after it;
  // any address of 127.0.0.0/8; without a port: 80) or `unix:/path`.
  static ModelEndpoint parse(std::string_view text);

  // app.pellora.messages/model.sock in the user's runtime folder, whether or not something listens there now. Refused
  // in a folder that belongs to somebody else.
  static ModelEndpoint defaultSocket();
};

}  // namespace pellora
