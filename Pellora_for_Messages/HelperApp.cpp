#include "Pellora_for_Messages/HelperApp.h"

#include <QApplication>
#include <QGuiApplication>
#include <QLocale>
#include <QPixmapCache>
#include <QPointer>
#include <QScreen>
#include <QSessionManager>
#include <QTranslator>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "Pellora_for_Messages/PlatformAdapters.h"
#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

HelperAppDelegate::HelperAppDelegate(QGuiApplication& application) {
  QGuiApplication::setQuitOnLastWindowClosed(shouldTerminateAfterLastWindowClosed());
  // Nothing needs saving at the end of a session: files are whole at every moment and an abandoned read is repeated.
  connect(&application, &QGuiApplication::commitDataRequest, this,
          [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
}

namespace {

constexpr int kNoDisplay = 2;

// The window library talks about things that no user of this program can do anything about.
void dropLibraryChatter(QtMsgType, const QMessageLogContext&, const QString&) {}

void quit() {
  QCoreApplication::exit(0);
}

void installTranslation(QTranslator& translator) {
#ifdef PELLORA_TRANSLATIONS
  if (translator.load(QLocale(), QStringLiteral("pellora"), QStringLiteral("_"), QStringLiteral(PELLORA_TRANSLATIONS)))
    QCoreApplication::installTranslator(&translator);
#else
  Q_UNUSED(translator)
#endif
}

}  // namespace

HelperApp::HelperApp(QApplication& application, HelperPlatform platform, HelperDesktop desktop)
    : _desktop(std::move(desktop)),
      _delegate(std::make_unique<HelperAppDelegate>(application)),
      _engine(std::make_unique<HelperEngine>(std::move(platform))) {
  connect(_engine.get(), &HelperEngine::changed, this, &HelperApp::settle);
  _engine->start();
  settle();
  _menu = std::make_unique<HelperMenu>(*_engine, [this] { openWindow(); }, quit);
  _tray = std::make_unique<HelperTray>(_desktop.trayHost, *_menu, [this] { openWindow(); });
  _desktop.quitRequests.observe(quit);
  HelperEngine* engine = _engine.get();
  _sleep = _desktop.sleepNotice.observe([engine] { engine->suspend(); }, [engine] { engine->resume(); });
}

HelperApp::~HelperApp() {
  keepPlace();
}

void HelperApp::openWindow(const std::string& token) {
  if (!_followsAppearance) {
    _followsAppearance = true;
    const QPointer<HelperApp> self(this);
    _desktop.appearance.observe([self](bool prefersDark) {
      if (self) self->followAppearance(prefersDark);
    });
  }
  if (!_window) makeWindow();
  bringToFront(token);
  settle();
}

void HelperApp::makeWindow() {
  _window = std::make_unique<HelperWindow>(
      *_engine, HelperView::Actions{[this] { _desktop.privacySettings.show(_engine->platform().chatDatabase); }, quit});
  connect(_window.get(), &QDialog::finished, this, &HelperApp::closeWindow, Qt::QueuedConnection);
  restorePlace();
}

void HelperApp::bringToFront(const std::string& token) {
  _desktop.windowActivation.useToken(token);
  _window->present();
  _desktop.windowActivation.bringToFront(_window->winId());
  _attention = _engine->platform().scheduler.after(kActivationPatience, [this] {
    if (_window && _window->isVisible() && !_window->isActiveWindow()) QApplication::alert(_window.get());
  });
}

void HelperApp::closeWindow() {
  if (!_window || _window->isVisible()) return;
  keepPlace();
  _attention.reset();
  _window.reset();
  settle();
}

// Desktops that do not tell programs where their windows are say the same place every time, and take no advice either.
void HelperApp::keepPlace() {
  if (!_window) return;
  const QPoint place = _window->pos();
  try {
    _engine->platform().defaults.store({{kPlaceKey, std::to_string(place.x()) + ' ' + std::to_string(place.y())}});
  } catch (const std::exception&) {
    // The window then opens where the desktop puts it.
  }
}

void HelperApp::restorePlace() {
  std::istringstream words;
  try {
    words.str(_engine->platform().defaults.text(kPlaceKey).value_or(""));
  } catch (const std::exception&) {
    return;  // The window then opens where the desktop puts it.
  }
  int x = 0;
  int y = 0;
  if (!(words >> x >> y)) return;
  const QRect place(QPoint(x, y), _window->size());
  // A screen may be gone since.
  if (const QScreen* screen = QGuiApplication::screenAt(place.center());
      screen != nullptr && screen->availableGeometry().contains(place.topLeft()))
    _window->move(x, y);
}

void HelperApp::settle() {
  if (_engine->state().kind == HelperEngine::State::Kind::reading)
    _settling.reset();
  else
    _settling = _engine->platform().scheduler.after(kSettling, _desktop.releaseMemory);
}

void HelperApp::followAppearance(bool prefersDark) {
  if (prefersDark && !HelperLook::isDark(QApplication::palette())) {
    _isDarkByUs = true;
    QApplication::setPalette(HelperLook::darkPalette());
  } else if (!prefersDark && _isDarkByUs) {
    _isDarkByUs = false;
    QApplication::setPalette(QPalette());
  }
}

int runHelperApp(int& argc, char** argv, const HelperOptions& options, std::shared_ptr<HelperConfinement> confinement) {
  auto display = PlatformAdapters::reachDisplay();
  if (!display) {
    std::cerr << "Pellora for Messages needs a display, and neither DISPLAY nor WAYLAND_DISPLAY leads to one.\n";
    return kNoDisplay;
  }
  const std::string token = PlatformAdapters::launchToken();
  qInstallMessageHandler(dropLibraryChatter);
  QCoreApplication::setApplicationName(QStringLiteral("Pellora for Messages"));
  QGuiApplication::setApplicationDisplayName(QStringLiteral("Pellora for Messages"));
  QGuiApplication::setDesktopFileName(QStringLiteral("app.pellora.Messages"));
  QApplication application(argc, argv);
  // The cache's timer would wake the process every half minute; what we draw is drawn rarely.
  QPixmapCache::setCacheLimit(0);
  display.reset();
  QTranslator translator;
  installTranslation(translator);
  PlatformAdapters adapters(std::move(confinement));
  QPointer<HelperApp> shown;
  const auto later = options.background ? AppInstance::Later::staysQuiet : AppInstance::Later::showsFirst;
  const bool isFirst = adapters.appInstance().claim(
      [&shown](const std::string& given) {
        if (shown) shown->openWindow(given);
      },
      later, token);
  if (!isFirst) return 0;
  adapters.tellProtections();
  adapters.removeLeftovers();
  adapters.refreshLoginItem();
  auto app = std::make_unique<HelperApp>(application, adapters.platform(), adapters.desktop());
  shown = app.get();
  if (!options.background) app->openWindow(token);
  const int code = QApplication::exec();
  app.reset();  // a query in the background ends with it
  if (!adapters.close()) std::_Exit(code);
  return code;
}

}  // namespace pellora
