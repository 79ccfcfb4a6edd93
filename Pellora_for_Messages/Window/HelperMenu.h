// The menu, and the tray item that shows it.
#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/Desktop.h"
#include "PelloraMessagesCore/Ports/Scheduler.h"
#include "Pellora_for_Messages/Window/StatusTicker.h"

namespace pellora {

class HelperEngine;

// The menu of the tray item. Holds no state of its own: the status line follows the engine, and time while the menu
// is open. Tested by Tests/Window/HelperMenuTests.cpp.
class HelperMenu : public QMenu {
  Q_OBJECT

 public:
  // Not every desktop says when it closes the menu; the line is kept true for this long after it was opened.
  static constexpr std::chrono::minutes kLongestOpen{5};

  HelperMenu(HelperEngine& engine, std::function<void()> openWindow, std::function<void()> quit);

 private:
  void refresh();
  void opened();
  void closed();

  HelperEngine& _engine;
  QAction* _status;
  StatusTicker _ticker;
  std::unique_ptr<ScheduledCall> _closing;
};

// The tray item: appears when the desktop has a place for it, which may be later than the helper's start, and comes
// back by itself when that place is restarted.
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
