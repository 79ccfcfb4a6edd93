// Shows a file in the program that the user has chosen for its kind: asks the desktop's portal, which also reaches
// programs that may not see the file's folder, and without one xdg-open. Waits until the portal has answered, since a
// caller that goes away takes its request along. Main thread, runs the event loop.
// Tested by Tests/Adapters/PortalFileOpenerTests.cpp.
#pragma once

#include <QObject>
#include <QVariantMap>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace pellora {

class PortalFileOpener : public QObject {
  Q_OBJECT

 public:
  // Absent when the file was handed over; otherwise the reason why not, a short phrase.
  // `startXdgOpen` is called without a portal, and says whether that started.
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
