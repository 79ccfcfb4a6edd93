#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Adapters/Linux/Model/PeerOwner.h"

namespace pellora {

namespace {

using Owners = std::vector<uid_t>;

// The kernel's lists on a little-endian machine: a listener on 127.0.0.1:8080 of account 1000, one on every address
// of account 0, one on ::1 of account 33, an accepted connection from port 40000, and one of another pair of ports.
constexpr const char* kTable =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
    "   0: 0100007F:1F90 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000        0 1 1 0 100\n"
    "   1: 00000000:1F90 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 2 1 0 100\n"
    "   2: 0100007F:1F91 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1001        0 3 1 0 100\n"
    "   3: 00000000000000000000000001000000:1F90 00000000000000000000000000000000:0000 0A 00000000:00000000 "
    "00:00000000 00000000    33        0 4 1 0 100\n"
    "   4: 0100007F:1F90 0100007F:9C40 01 00000000:00000000 00:00000000 00000000  1002        0 5 1 0 100\n"
    "   5: 0100007F:1F90 0100007F:9C41 01 00000000:00000000 00:00000000 00000000  1003        0 6 1 0 100\n"
    "   6: 0200007F:1F90 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1004        0 7 1 0 100\n"
    "damaged\n   8: zz:1F90 00000000:0000 0A\n";

TEST(PeerOwner, ListenersOfTheVeryAddressAreFound) {
  const PeerOwner::TcpOwners v4 = PeerOwner::inTable(kTable, {"127.0.0.1", 8080}, {"127.0.0.1", 40000});
  EXPECT_EQ(v4.listening, (Owners{1000, 0}));
  EXPECT_EQ(v4.accepted, (Owners{1002}));
  EXPECT_EQ(PeerOwner::inTable(kTable, {"::1", 8080}, {"::1", 40000}).listening, (Owners{33}));
  EXPECT_EQ(PeerOwner::inTable(kTable, {"127.0.0.2", 8080}, {"127.0.0.1", 1}).listening, (Owners{0, 1004}));
  EXPECT_EQ(PeerOwner::inTable(kTable, {"127.0.0.1", 8081}, {"127.0.0.1", 1}).listening, (Owners{1001}));
  EXPECT_TRUE(PeerOwner::inTable(kTable, {"127.0.0.1", 8082}, {"127.0.0.1", 1}).listening.empty());
  EXPECT_TRUE(PeerOwner::inTable(kTable, {"localhost", 8080}, {"127.0.0.1", 1}).listening.empty());
  EXPECT_TRUE(PeerOwner::inTable("", {"127.0.0.1", 8080}, {"127.0.0.1", 1}).listening.empty());
}

TEST(PeerOwner, TheUserRootAndSystemAccountsAreTrusted) {
  for (const uid_t owner : {0u, 33u, 999u, 1000u}) EXPECT_TRUE(PeerOwner::isTrusted(owner, 1000)) << owner;
  for (const uid_t owner : {1001u, 4242u, 65534u}) EXPECT_FALSE(PeerOwner::isTrusted(owner, 1000)) << owner;
}

TEST(PeerOwner, OwnListenersAreFoundInTheKernelsOwnList) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), size), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  const std::uint16_t port = ntohs(address.sin_port);
  EXPECT_EQ(PeerOwner::isTrustedConnection({"127.0.0.1", port}, {"127.0.0.1", 1}), true);
  close(listener);
  EXPECT_EQ(PeerOwner::isTrustedConnection({"127.0.0.1", port}, {"127.0.0.1", 1}), false) << "nobody listens any more";
}

TEST(PeerOwner, SocketsTellWhoListens) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
  EXPECT_EQ(PeerOwner::ofSocket(pair[0]), geteuid());
  close(pair[0]);
  close(pair[1]);
  EXPECT_EQ(PeerOwner::ofSocket(-1), std::nullopt);
}

}  // namespace

}  // namespace pellora
