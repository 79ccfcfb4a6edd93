#include "Pellora_for_Messages/Window/HelperTray.h"

#include <QIcon>
#include <QPointer>

namespace pellora {

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
