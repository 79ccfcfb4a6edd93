// Secrets in the desktop's secret service, found by the attributes `service`, `account` and `access-group`, kept in
// the default collection (or the login collection when there is no default), never in the one that ends with the
// session. Never prompts: what is locked is reported as locked, and nothing is created then.
//
// The service itself takes any number of items with the same attributes. So adding is search, create, search again
// under a lock between processes, and of several items the one created first counts, for everybody: the smallest of
// (creation time, object path). No session bus, no service or one that is silent for some seconds: unavailable.
// Tested by Tests/Adapters/SecretServiceStoreTests.cpp.
#pragma once

#include <chrono>
#include <mutex>

#include "PelloraMessagesCore/Ports/SecretStore.h"

namespace pellora {

class SecretServiceSession;

class SecretServiceStore : public SecretStore {
 public:
  // How long one call may take altogether.
  explicit SecretServiceStore(std::chrono::milliseconds patience = std::chrono::seconds(5)) : _patience(patience) {}

  SecretLookup find(const SecretAttributes& attributes) override;
  SecretAddition add(const SecretAttributes& attributes, const std::string& label, const SecretBytes& data) override;
  // Listens to the service on a connection to the bus of its own.
  std::unique_ptr<SecretStoreObserver> observe(const SecretAttributes& attributes,
                                               std::function<void()> changed) override;
  void close() override;

 private:
  class Call;

  std::chrono::milliseconds _patience;
  std::mutex _mutex;  // guards what follows
  SecretServiceSession* _running = nullptr;
  bool _isClosed = false;
};

}  // namespace pellora
