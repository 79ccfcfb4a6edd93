// The tray item: appears when the desktop has a place for it, which may be later than the helper's start, and comes
// back by itself when that place is restarted.
#pragma once

#include <QSystemTrayIcon>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/TrayHost.h"

class QMenu;

namespace pellora {

class HelperTray : public QObject {
  Q_OBJECT

 public:
  // `menu` must outlive the tray. `openWindow` is called when the item itself is chosen.
  HelperTray(TrayHost& host, QMenu& menu, std::function<void()> openWindow);

  // Null until there is a place for it.
  QSystemTrayIcon* item() const { return _item.get(); }

 private:
  void appear();

  QMenu& _menu;
  std::function<void()> _openWindow;
  std::unique_ptr<QSystemTrayIcon> _item;
};

}  // namespace pellora
