// Which account's program is at the other end of a local connection. Any account can listen on a port or create a
// socket file, but texts are for the user's own model server only: it must run as this user, as root, or as the system
// account of a service. Called by the worker thread, before a byte of the request is sent.
// Tested by Tests/Adapters/PeerOwnerTests.cpp.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellora {

namespace PeerOwner {

// System accounts have numbers below this one.
inline constexpr uid_t kFirstUserAccount = 1000;

bool isTrusted(uid_t owner, uid_t user);

// Whose process listened on the Unix socket that `descriptor` is connected to; absent when the kernel does not tell.
std::optional<uid_t> ofSocket(int descriptor);

// One end of a TCP connection: an address as text ("127.0.0.1", "::1") and a port.
struct TcpEnd {
  std::string address;
  std::uint16_t port = 0;
};

struct TcpOwners {
  std::vector<uid_t> listening;  // where the connection arrives; several when one listens on every address
  std::vector<uid_t> accepted;   // the connection itself
};

// The owners of a connection from `here` to `there`. `table` is the text of the kernel's list (/proc/net/tcp,
// /proc/net/tcp6).
TcpOwners inTable(std::string_view table, const TcpEnd& there, const TcpEnd& here);

// Whether everybody who may have taken the connection is trusted by the user of this process; false when the kernel
// lists nobody who listens. Absent when this process can open nothing more, not even the kernel's list.
std::optional<bool> isTrustedConnection(const TcpEnd& there, const TcpEnd& here);

// Whose process listens where connections to this end arrive; absent when nobody's does.
std::optional<uid_t> listenerAt(const TcpEnd& there);

// The account's name, its number without one.
std::string accountName(uid_t account);

}  // namespace PeerOwner

}  // namespace pellora
