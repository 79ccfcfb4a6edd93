#include "Adapters/Linux/Model/PeerOwner.h"

#include <arpa/inet.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

namespace pellora::PeerOwner {

namespace {

constexpr unsigned kEstablished = 0x01;  // states as the table writes them
constexpr unsigned kListening = 0x0A;

// An address in the form of version 6: version 4 is mapped (::ffff:127.0.0.1).
using Address = std::array<std::uint8_t, 16>;

constexpr Address kMapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0};

struct Entry {
  Address address{};
  unsigned port = 0;

  bool operator==(const Entry&) const = default;
};

std::optional<Address> parsedAddress(const std::string& text) {
  Address address = kMapped;
  if (inet_pton(AF_INET, text.c_str(), address.data() + 12) == 1) return address;
  if (inet_pton(AF_INET6, text.c_str(), address.data()) == 1) return address;
  return std::nullopt;
}

template <class Number>
bool readNumber(std::string_view digits, Number& number, int base) {
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
  return error == std::errc() && stop == end && !digits.empty();
}

// "0100007F:1F90": the address as 32-bit words in this machine's byte order, the port as a plain number.
std::optional<Entry> parsedEntry(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon != 8 && colon != 32) return std::nullopt;
  Entry entry{kMapped, 0};
  const std::size_t first = colon == 8 ? 12 : 0;
  for (std::size_t word = 0; word * 8 < colon; ++word) {
    std::uint32_t value = 0;
    if (!readNumber(text.substr(word * 8, 8), value, 16)) return std::nullopt;
    std::memcpy(entry.address.data() + first + word * 4, &value, sizeof value);
  }
  if (!readNumber(text.substr(colon + 1), entry.port, 16)) return std::nullopt;
  return entry;
}

// Whether a listener on `address` takes connections to `wanted`.
bool covers(const Address& address, const Address& wanted) {
  Address everyV4 = kMapped;
  const bool isV4 = std::equal(wanted.begin(), wanted.begin() + 12, kMapped.begin());
  return address == wanted || address == Address{} || (isV4 && address == everyV4);
}

// Empty for a list that does not exist; absent when this process can open nothing more.
std::optional<std::string> listText(const char* path) {
  errno = 0;
  std::ifstream file(path);
  if (!file.is_open() && (errno == EMFILE || errno == ENFILE)) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

bool isTrusted(uid_t owner, uid_t user) {
  return owner == user || owner < kFirstUserAccount;
}

std::optional<uid_t> ofSocket(int descriptor) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || size != sizeof credentials)
    return std::nullopt;
  return credentials.uid;
}

TcpOwners inTable(std::string_view table, const TcpEnd& there, const TcpEnd& here) {
  const std::optional<Address> thereAddress = parsedAddress(there.address);
  const std::optional<Address> hereAddress = parsedAddress(here.address);
  TcpOwners owners;
  if (!thereAddress || !hereAddress) return owners;
  std::istringstream lines{std::string(table)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string number, local, remote, state, queues, timer, retransmits;
    uid_t owner = 0;
    words >> number >> local >> remote >> state >> queues >> timer >> retransmits >> owner;
    unsigned stateNumber = 0;
    const std::optional<Entry> localEnd = parsedEntry(local);
    const std::optional<Entry> remoteEnd = parsedEntry(remote);
    if (!words || !localEnd || !remoteEnd || !readNumber(std::string_view(state), stateNumber, 16)) continue;
    if (localEnd->port != there.port) continue;
    if (stateNumber == kListening && covers(localEnd->address, *thereAddress)) owners.listening.push_back(owner);
    if (stateNumber == kEstablished && localEnd->address == *thereAddress &&
        *remoteEnd == Entry{*hereAddress, here.port})
      owners.accepted.push_back(owner);
  }
  return owners;
}

std::optional<bool> isTrustedConnection(const TcpEnd& there, const TcpEnd& here) {
  const uid_t user = geteuid();
  const auto areTrusted = [user](const std::vector<uid_t>& owners) {
    return std::all_of(owners.begin(), owners.end(), [user](uid_t owner) { return isTrusted(owner, user); });
  };
  bool hasListener = false;
  for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    const std::optional<std::string> list = listText(path);
    if (!list) return std::nullopt;
    const TcpOwners found = inTable(*list, there, here);
    if (!areTrusted(found.listening) || !areTrusted(found.accepted)) return false;
    hasListener = hasListener || !found.listening.empty();
  }
  return hasListener;
}

std::optional<uid_t> listenerAt(const TcpEnd& there) {
  for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    const TcpOwners found = inTable(listText(path).value_or(""), there, there);
    if (!found.listening.empty()) return found.listening.front();
  }
  return std::nullopt;
}

std::string accountName(uid_t account) {
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(account, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) return found->pw_name;
  return std::to_string(account);
}

}  // namespace pellora::PeerOwner
