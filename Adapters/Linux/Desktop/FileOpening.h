// Files and folders shown in the user's own programs: over the session bus, which starts nothing from this process, or
// by xdg-open.
#pragma once

#include <QObject>
#include <QVariantMap>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "PelloraMessagesCore/Ports/Desktop.h"

namespace pellora {

// Shows the folder of the Messages database, or its nearest existing parent, in the user's file manager: asked over
// the session bus (org.freedesktop.FileManager1, else the desktop portal), never by starting a program.
// Tested by Tests/Adapters/DesktopBusTests.cpp.
class FileManagerPrivacySettings : public PrivacySettings {
 public:
  void show(const std::filesystem::path& database) override;

  static std::filesystem::path nearestFolder(const std::filesystem::path& database);
};

// Shows a file in the program that the user has chosen for its kind: asks the desktop's portal, which also reaches
// programs that may not see the file's folder, and without one xdg-open. Waits until the portal has answered, since a
// caller that goes away takes its request along. Main thread, runs the event loop.
// Tested by Tests/Adapters/PortalFileOpenerTests.cpp.
class PortalFileOpener : public QObject {
  Q_OBJECT

 public:
  // Absent when the file was handed over; otherwise the reason why not, a short phrase.
  // `startXdgOpen` is called without a portal, and says whether that opened it.
  static std::optional<std::string> open(const std::filesystem::path& file, const std::function<bool()>& startXdgOpen);

  Q_SLOT void answered(uint code, const QVariantMap& results);

 private:
  enum class Outcome { opened, refused, noPortal };

  PortalFileOpener() = default;
  Outcome ask(const std::filesystem::path& file);

  std::optional<uint> _answer;
  Q_SIGNAL void hasAnswer();
};

}  // namespace pellora

// Starts xdg-open, which shows a file in the program that the desktop has for its kind. That program inherits what the
// calling process gave up for itself, and a browser without sockets is of no use to anybody: call it where nothing is
// given up yet (Keeper). Tested by Tests/Adapters/PortalFileOpenerTests.cpp and Tests/Companion/ProgramTests.cpp.
namespace pellora::XdgOpen {

// It fails within this time, or runs as long as the program that it started.
inline constexpr std::chrono::milliseconds kTimeToFail{2000};

// In a session of its own, with nothing to read from or write to. False when it does not start, or fails in this time,
// as without a program for such files. Blocks until it ends, but no longer.
bool start(const std::filesystem::path& file, std::chrono::milliseconds timeToFail = kTimeToFail);

}  // namespace pellora::XdgOpen
