// One conversation with the desktop's secret service: a connection to the session bus and an encrypted session on
// it, made by the first call. Calls are synchronous, all of them together end within the patience given, and none
// ever prompts the user. A conversation belongs to one thread, which may be any; only cancel() may come from another.
// Failures are thrown as SecretServiceSession::Failure. Tested by Tests/Adapters/SecretServiceStoreTests.cpp.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

class SecretServiceSession {
 public:
  static constexpr char kLockedReason[] = "The keyring is locked.";

  struct Failure {
    bool locked = false;
    std::string reason;  // one sentence for a person
  };

  struct Items {
    std::vector<std::string> unlocked;  // object paths
    std::vector<std::string> locked;
  };

  explicit SecretServiceSession(std::chrono::milliseconds patience);
  ~SecretServiceSession();

  // Lets the running call and all later ones fail. Any thread.
  void cancel();

  Items search(const SecretAttributes& attributes);
  // Seconds since 1970; the largest number when the service does not tell.
  std::uint64_t created(const std::string& item);
  SecretBytes secret(const std::string& item);

  // Absent when there is no such alias.
  std::optional<std::string> collectionForAlias(const std::string& alias);
  std::vector<std::string> collections();
  bool isLocked(const std::string& collection);

  // The new item, whether or not there are others with these attributes.
  std::string createItem(const std::string& collection, const SecretAttributes& attributes, const std::string& label,
                         const SecretBytes& data);
  void deleteItem(const std::string& item);

 private:
  class Connection;

  std::unique_ptr<Connection> _connection;
};

}  // namespace pellora
