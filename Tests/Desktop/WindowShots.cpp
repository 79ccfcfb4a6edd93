// Draws the status window in all its states, without a display: window-shots FOLDER, light or dark by its second
// argument, in the scale that QT_SCALE_FACTOR says.
#include <QApplication>
#include <QDir>
#include <iostream>

#include "Pellora_for_Messages/Window/HelperLook.h"
#include "Pellora_for_Messages/Window/HelperWindow.h"
#include "Tests/Window/WindowWorld.h"

namespace {

using Kind = pellora::HelperEngineState::Kind;

struct Shot {
  Kind kind;
  const char* name;
};

constexpr Shot kShots[] = {{Kind::starting, "starting"},
                           {Kind::needsFullDiskAccess, "needs-full-disk-access"},
                           {Kind::waitingForPellora, "waiting-for-pellora"},
                           {Kind::reading, "reading"},
                           {Kind::idle, "idle"},
                           {Kind::failed, "failed"}};

bool write(const Shot& shot, const QString& file) {
  using namespace std::chrono_literals;
  pellora::support::WindowWorld world;
  world.loginItem.enable();
  const auto engine = world.makeEngine();
  pellora::HelperWindow window(*engine, {[] {}, [] {}});
  world.bring(*engine, shot.kind);
  if (shot.kind == Kind::idle) world.scheduler.advance(5min);
  window.present();
  QApplication::processEvents();
  QApplication::processEvents();
  const bool isWritten = window.grab().save(file);
  world.gated.setAvailable(false);
  while (world.gated.waiting() > 0) world.gated.answerAll();
  return isWritten;
}

void dropLibraryChatter(QtMsgType, const QMessageLogContext&, const QString&) {}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(dropLibraryChatter);
  const QApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() != 3) {
    std::cerr << "Usage: window-shots FOLDER light|dark\n";
    return 2;
  }
  if (arguments[2] == QLatin1String("dark")) QApplication::setPalette(pellora::HelperLook::darkPalette());
  const QString scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1"));
  for (const Shot& shot : kShots) {
    const QString name = QStringLiteral("window-%1-%2@%3.png").arg(QLatin1String(shot.name), arguments[2], scale);
    if (!write(shot, QDir(arguments[1]).filePath(name))) {
      std::cerr << "Cannot write " << name.toStdString() << '\n';
      return 1;
    }
  }
  return 0;
}
