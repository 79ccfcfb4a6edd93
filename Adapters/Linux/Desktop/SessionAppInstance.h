// The one helper per session: its name on the session bus, or a lock and a socket where there is no bus.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QObject>
#include <QSocketNotifier>
#include <QVariantMap>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Adapters/Linux/Files/FileLock.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Ports/Session.h"

namespace pellora {

// Lets a second launch reach the first without a session bus, through a datagram socket next to the lock file. A
// datagram means "show yourself" and holds the token to do it with, which may be empty. Needs the event loop of the
// main thread.
class ActivationSocket {
 public:
  // False when nobody listens at `path`.
  static bool send(const std::filesystem::path& path, const std::string& token);

  // Replaces the previous listener. Does nothing where no socket can be made.
  ActivationSocket(std::filesystem::path path, AppInstance::Activated activated);
  ~ActivationSocket();
  ActivationSocket(const ActivationSocket&) = delete;
  ActivationSocket& operator=(const ActivationSocket&) = delete;

 private:
  std::filesystem::path _path;
  std::unique_ptr<QSocketNotifier> _notifier;
  FileDescriptor _socket;
};

// org.freedesktop.Application on the session bus: what desktops and second launches call to make the helper show
// itself. There are no files to open and no actions; those calls show the window too.
class ApplicationInterface : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  // Keys of the data that come with every call.
  static constexpr char kActivationToken[] = "activation-token";
  static constexpr char kStartupId[] = "desktop-startup-id";

  ApplicationInterface(QObject* parent, AppInstance::Activated activated)
      : QDBusAbstractAdaptor(parent), _activated(std::move(activated)) {}

 public Q_SLOTS:
  void Activate(const QVariantMap& platformData) { _activated(token(platformData)); }
  void Open(const QStringList&, const QVariantMap& platformData) { _activated(token(platformData)); }
  void ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData) {
    _activated(token(platformData));
  }

 private:
  static std::string token(const QVariantMap& platformData) {
    for (const char* key : {kActivationToken, kStartupId})
      if (const QString value = platformData.value(QLatin1String(key)).toString(); !value.isEmpty())
        return value.toStdString();
    return {};
  }

  AppInstance::Activated _activated;
};

// One helper for the user's session: the bus name app.pellora.Messages, whose owner answers
// org.freedesktop.Application at /app/pellora/Messages; without a session bus the lock file of the shared folder and
// a socket next to it. The lock is held in both cases, so that a read from the command line knows. A launch that finds
// the lock held waits for the holder, which may not listen yet, as long as an answer from the bus may take.
// Tested by Tests/Adapters/SessionAppInstanceTests.cpp.
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
