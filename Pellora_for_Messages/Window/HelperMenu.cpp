#include "Pellora_for_Messages/Window/HelperMenu.h"

#include <QIcon>
#include <QPointer>

#include "Pellora_for_Messages/Engine/HelperEngine.h"

namespace pellora {

HelperMenu::HelperMenu(HelperEngine& engine, std::function<void()> openWindow, std::function<void()> quit)
    : _engine(engine), _status(addAction(StatusTicker::line(engine))), _ticker(engine, [this] { refresh(); }) {
  _status->setEnabled(false);
  addSeparator();
  connect(addAction(tr("Read Messages Now")), &QAction::triggered, this, [this] { _engine.requestRead(); });
  connect(addAction(tr("Open Pellora for Messages…")), &QAction::triggered, this, std::move(openWindow));
  addSeparator();
  connect(addAction(tr("Quit")), &QAction::triggered, this, std::move(quit));
  connect(this, &QMenu::aboutToShow, this, &HelperMenu::opened);
  connect(this, &QMenu::aboutToHide, this, &HelperMenu::closed);
  connect(&engine, &HelperEngine::changed, this, &HelperMenu::refresh);
}

void HelperMenu::refresh() {
  const QString line = StatusTicker::line(_engine);
  if (_status->text() != line) _status->setText(line);
}

void HelperMenu::opened() {
  _ticker.setActive(true);
  _closing = _engine.platform().scheduler.after(kLongestOpen, [this] { _ticker.setActive(false); });
}

void HelperMenu::closed() {
  _ticker.setActive(false);
  _closing.reset();
}

namespace {

QIcon menuBarMark() {
  QIcon icon;
  for (const int size : {16, 22, 24, 32, 48, 64}) icon.addFile(QStringLiteral(":/MenuBarMark-%1.png").arg(size));
  return icon;
}

}  // namespace

HelperTray::HelperTray(TrayHost& host, QMenu& menu, std::function<void()> openWindow)
    : _menu(menu), _openWindow(std::move(openWindow)) {
  const QPointer<HelperTray> self(this);
  host.observe([self] {
    if (self) self->appear();
  });
}

void HelperTray::appear() {
  if (_item) return;
  _item = std::make_unique<QSystemTrayIcon>(menuBarMark());
  _item->setToolTip(tr("Pellora for Messages"));
  _item->setContextMenu(&_menu);
  connect(_item.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) _openWindow();
  });
  _item->show();
}

}  // namespace pellora
