#include "Pellora_for_Messages/HelperApp.h"

#include <QApplication>
#include <QLocale>
#include <QPixmapCache>
#include <QPointer>
#include <QTranslator>
#include <cstdlib>
#include <iostream>

#include "Pellora_for_Messages/PlatformAdapters.h"
#include "Pellora_for_Messages/Window/HelperLook.h"

namespace pellora {

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

HelperApp::~HelperApp() = default;

void HelperApp::openWindow() {
  if (!_followsAppearance) {
    _followsAppearance = true;
    const QPointer<HelperApp> self(this);
    _desktop.appearance.observe([self](bool prefersDark) {
      if (self) self->followAppearance(prefersDark);
    });
  }
  if (!_window) {
    _window = std::make_unique<HelperWindow>(
        *_engine,
        HelperView::Actions{[this] { _desktop.privacySettings.show(_engine->platform().chatDatabase); }, quit});
    connect(_window.get(), &QDialog::finished, this, &HelperApp::closeWindow, Qt::QueuedConnection);
  }
  _window->present();
  settle();
}

void HelperApp::closeWindow() {
  if (!_window || _window->isVisible()) return;
  _window.reset();
  settle();
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

int runHelperApp(int& argc, char** argv, const HelperOptions& options) {
  auto display = PlatformAdapters::reachDisplay();
  if (!display) {
    std::cerr << "Pellora for Messages needs a display, and neither DISPLAY nor WAYLAND_DISPLAY leads to one.\n";
    return kNoDisplay;
  }
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
  PlatformAdapters adapters;
  QPointer<HelperApp> shown;
  if (!adapters.appInstance().claim([&shown] {
        if (shown) shown->openWindow();
      }))
    return 0;
  adapters.removeLeftovers();
  adapters.refreshLoginItem();
  HelperApp app(application, adapters.platform(), adapters.desktop());
  shown = &app;
  if (!options.background) app.openWindow();
  const int code = QApplication::exec();
  if (!adapters.close()) std::_Exit(code);
  return code;
}

}  // namespace pellora
