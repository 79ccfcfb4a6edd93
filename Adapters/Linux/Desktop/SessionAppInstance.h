// One helper for the user's session: the bus name app.pellora.Messages, whose owner answers
// org.freedesktop.Application at /app/pellora/Messages; without a session bus the lock file of the shared folder and
// a socket beside it. The lock is held in both cases, so that a read from the command line knows. A launch that finds
// the lock held waits for the holder, which may not listen yet, as long as an answer from the bus may take.
// Tested by Tests/Adapters/SessionAppInstanceTests.cpp.
#pragma once

#include <QObject>
#include <filesystem>
#include <memory>
#include <optional>

#include "Adapters/Linux/Desktop/ActivationSocket.h"
#include "Adapters/Linux/Process/InstanceLock.h"
#include "PelloraMessagesCore/Ports/AppInstance.h"

namespace pellora {

class SessionAppInstance : public AppInstance {
 public:
  static constexpr char kBusName[] = "app.pellora.Messages";
  static constexpr char kObjectPath[] = "/app/pellora/Messages";

  explicit SessionAppInstance(std::optional<std::filesystem::path> sharedFolder)
      : _sharedFolder(std::move(sharedFolder)) {}
  ~SessionAppInstance() override;

  bool claim(Activated activated, Later later, const std::string& token) override;

 private:
  struct Claim {
    Activated activated;
    Later later;
    std::string token;
  };

  bool claimOnBus(const Claim& claim);
  bool claimLock(const Claim& claim);

  std::optional<std::filesystem::path> _sharedFolder;
  std::unique_ptr<QObject> _busObject;
  std::optional<InstanceLock> _lock;
  std::optional<InstanceLock> _readLock;  // absent while a read from the command line runs
  std::unique_ptr<ActivationSocket> _socket;
};

}  // namespace pellora
