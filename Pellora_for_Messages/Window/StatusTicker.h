// Keeps a view's status line true as time goes by. Has a timer only while it is active and the line tells a time;
// ticks as often as that line can change.
#pragma once

#include <QObject>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Ports/Scheduler.h"

namespace pellora {

class HelperEngine;

class StatusTicker : public QObject {
  Q_OBJECT

 public:
  // `engine` must outlive the ticker.
  StatusTicker(HelperEngine& engine, std::function<void()> refresh, QObject* parent = nullptr);

  // Refreshes at once when it becomes active, then on every tick and on every change of the engine.
  void setActive(bool active);
  bool isActive() const { return _isActive; }

  // The line at this moment.
  static QString line(const HelperEngine& engine);

 private:
  void refresh();
  void schedule();

  HelperEngine& _engine;
  std::function<void()> _refresh;
  std::unique_ptr<ScheduledCall> _tick;
  bool _isActive = false;
};

}  // namespace pellora
