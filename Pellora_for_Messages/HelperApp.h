// The app around the engine: its life, its window, its tray item, and the desktop that it needs for these.
#pragma once

#include <QObject>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/Desktop.h"
#include "PelloraMessagesCore/Ports/Session.h"
#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Pellora_for_Messages/Engine/HelperOptions.h"
#include "Pellora_for_Messages/Window/HelperMenu.h"
#include "Pellora_for_Messages/Window/HelperWindow.h"

class QGuiApplication;
class QApplication;

namespace pellora {

class HelperConfinement;

// The desktop as far as the app needs more of it than the engine. The references must outlive the app.
struct HelperDesktop {
  TrayHost& trayHost;
  PrivacySettings& privacySettings;
  Appearance& appearance;
  QuitRequests& quitRequests;
  SleepNotice& sleepNotice;
  WindowActivation& windowActivation;

  // Gives back memory that is not needed at the moment; called after bursts of work.
  std::function<void()> releaseMemory;
};

// Keeps the process alive when the window is closed, and out of the session's list of programs to start again: the
// login item does that.
class HelperAppDelegate : public QObject {
  Q_OBJECT

 public:
  explicit HelperAppDelegate(QGuiApplication& application);

  bool shouldTerminateAfterLastWindowClosed() const { return false; }
};

// The app: one engine, started at once, the tray item with its menu, and the status window, which is made when it is
// shown and put away when it is closed. Tested by Tests/Window/HelperAppTests.cpp and Tests/Desktop/desktop-test.
class HelperApp : public QObject {
  Q_OBJECT

 public:
  // How long a desktop has to bring the window to the front before the user is told of it in another way.
  static constexpr std::chrono::milliseconds kActivationPatience{500};

  // Where the window was last, "x y", among the user's settings.
  static constexpr char kPlaceKey[] = "window.place";

  // From the last of a burst of work (the start, a read, the window coming or going) until memory is given back.
  static constexpr std::chrono::seconds kSettling{3};

  // Starts the engine.
  HelperApp(QApplication& application, HelperPlatform platform, HelperDesktop desktop);
  ~HelperApp() override;

  // `token` is the desktop's permission to come to the front, empty where there is none.
  void openWindow(const std::string& token = {});

  HelperEngine& engine() { return *_engine; }
  HelperMenu& menu() { return *_menu; }
  const HelperTray& tray() const { return *_tray; }
  HelperWindow* window() { return _window.get(); }  // null while it is closed

 private:
  void makeWindow();
  void bringToFront(const std::string& token);
  void closeWindow();
  void keepPlace();
  void restorePlace();
  void followAppearance(bool prefersDark);
  void settle();

  HelperDesktop _desktop;
  std::unique_ptr<HelperAppDelegate> _delegate;
  std::unique_ptr<HelperEngine> _engine;
  std::unique_ptr<SleepObserver> _sleep;
  std::unique_ptr<HelperMenu> _menu;
  std::unique_ptr<HelperTray> _tray;
  std::unique_ptr<HelperWindow> _window;
  std::unique_ptr<ScheduledCall> _settling;
  std::unique_ptr<ScheduledCall> _attention;
  bool _followsAppearance = false;
  bool _isDarkByUs = false;
};

// The process from here to its end; returns the exit code.
int runHelperApp(int& argc, char** argv, const HelperOptions& options, std::shared_ptr<HelperConfinement> confinement);

}  // namespace pellora
