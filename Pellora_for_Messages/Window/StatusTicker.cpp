#include "Pellora_for_Messages/Window/StatusTicker.h"

#include <QString>

#include "Pellora_for_Messages/Engine/HelperEngine.h"
#include "Pellora_for_Messages/Engine/HelperEngineState.h"

namespace pellora {

namespace {

using namespace std::chrono_literals;

// Seconds are told for a minute, minutes for an hour.
Nanoseconds tickFor(Nanoseconds age) {
  if (age < 1min) return 1s;
  if (age < 1h) return 10s;
  return 1min;
}

}  // namespace

StatusTicker::StatusTicker(HelperEngine& engine, std::function<void()> refresh, QObject* parent)
    : QObject(parent), _engine(engine), _refresh(std::move(refresh)) {
  connect(&_engine, &HelperEngine::changed, this, &StatusTicker::refresh);
}

void StatusTicker::setActive(bool active) {
  if (_isActive == active) return;
  _isActive = active;
  _tick.reset();
  if (active) refresh();
}

QString StatusTicker::line(const HelperEngine& engine) {
  const HelperPlatform& platform = engine.platform();
  return QString::fromStdString(
      statusLine(engine.state(), engine.lastReadAt(), platform.scheduler.now(), platform.calendar()));
}

void StatusTicker::refresh() {
  if (!_isActive) return;
  _refresh();
  schedule();
}

void StatusTicker::schedule() {
  _tick.reset();
  if (_engine.state().kind != HelperEngine::State::Kind::idle || !_engine.lastReadAt()) return;
  Scheduler& scheduler = _engine.platform().scheduler;
  _tick = scheduler.after(tickFor(scheduler.now() - *_engine.lastReadAt()), [this] { refresh(); });
}

}  // namespace pellora
