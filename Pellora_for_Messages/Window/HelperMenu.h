// The menu of the tray item. Holds no state of its own: the status line follows the engine, and time while the menu
// is open. Tested by Tests/Window/HelperMenuTests.cpp.
#pragma once

#include <QMenu>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/Scheduler.h"
#include "Pellora_for_Messages/Window/StatusTicker.h"

namespace pellora {

class HelperEngine;

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

}  // namespace pellora
