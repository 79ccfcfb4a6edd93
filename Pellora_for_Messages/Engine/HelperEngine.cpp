#include "Pellora_for_Messages/Engine/HelperEngine.h"

#include <QPointer>

#include "PelloraMessagesCore/ExchangeKeychain.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/HelperExchange.h"
#include "Pellora_for_Messages/Engine/ReadContext.h"

namespace pellora {

namespace {

// Only shown, so settings that cannot be read are none; the read that follows says what is wrong.
std::optional<Instant> lastReadOf(const UserDefaults& defaults) {
  try {
    return defaults.date(HelperEngineKeys::kLastRead);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

bool isLoginDecided(const UserDefaults& defaults) {
  try {
    return defaults.boolean(HelperEngineKeys::kLoginChoice);
  } catch (const FileError&) {
    return true;  // decided by a start that can keep the decision
  }
}

}  // namespace

HelperEngine::HelperEngine(HelperPlatform platform, QObject* parent)
    : QObject(parent),
      _platform(std::move(platform)),
      _lastReadAt(lastReadOf(_platform.defaults)),
      _opensAtLogin(_platform.loginItem.isEnabled()) {}

HelperEngine::~HelperEngine() {
  _stop.request_stop();
}

template <class Field, class Value>
void HelperEngine::publish(Field& field, Value value) {
  if (field == value) return;
  field = std::move(value);
  Q_EMIT changed();
}

void HelperEngine::start() {
  if (_started) return;
  _started = true;
  if (!isLoginDecided(_platform.defaults)) setOpensAtLogin(true);
  const QPointer<HelperEngine> self(this);
  _timer = _platform.scheduler.every(kReadInterval, [self] {
    if (self) self->requestRead();
  });
  _platform.loginItem.observe([self] {
    if (self) self->publish(self->_opensAtLogin, self->_platform.loginItem.isEnabled());
  });
  armWatchers();
  _readRequests = HelperReadRequest::observe(_platform.notifications, [self] {
    if (self) self->requestRead();
  });
  requestRead();
}

void HelperEngine::requestRead() {
  readOnEventLoop();
}

Task<void> HelperEngine::readOnEventLoop() {
  const QPointer<HelperEngine> self(this);
  if (_isReading) {
    _readAgain = true;
    co_return;
  }
  co_await _platform.scheduler.yield();
  if (self) co_await readNow();
}

Task<void> HelperEngine::readNow() {
  if (_isReading || _suspended) {
    _readAgain = true;
    co_return;
  }
  const QPointer<HelperEngine> self(this);
  _isReading = true;
  do {
    _readAgain = false;
    co_await runCycle();
    if (!self) co_return;
  } while (_readAgain && !_suspended);
  _isReading = false;
}

Task<void> HelperEngine::runCycle() {
  _readLock = _platform.readLock.tryTake();
  if (!_readLock) {
    retryAfter(kReadLockInterval);
    co_return;
  }
  _retry.reset();
  const QPointer<HelperEngine> self(this);
  const auto cycle = std::make_shared<HelperReadCycle>(_platform, this, static_cast<HelperReadCycle::Delegate&>(*this),
                                                       _stop.get_token());
  const HelperReadCycle::Outcome outcome = co_await cycle->run();
  if (self) finishCycle(outcome);
}

void HelperEngine::retryAfter(Nanoseconds delay) {
  const QPointer<HelperEngine> self(this);
  _retry = _platform.scheduler.after(delay, [self] {
    if (self) self->requestRead();
  });
}

void HelperEngine::finishCycle(const HelperReadCycle::Outcome& outcome) {
  _readLock.reset();
  analysisProgress(0, 0);
  switch (outcome.kind) {
    case HelperReadCycle::Outcome::Kind::needsFullDiskAccess:
      setState({State::Kind::needsFullDiskAccess, {}});
      writeHeartbeat(HelperHeartbeat::Status::needsFullDiskAccess);
      break;
    case HelperReadCycle::Outcome::Kind::waitingForPellora:
      setState({State::Kind::waitingForPellora, {}});
      if (_started) armWatchers();
      writeHeartbeat(HelperHeartbeat::Status::waitingForPellora);
      break;
    case HelperReadCycle::Outcome::Kind::failed:
      setState(State::failed(outcome.failure));
      writeHeartbeat(HelperHeartbeat::Status::failed);
      break;
    case HelperReadCycle::Outcome::Kind::finished:
      if (outcome.isMoreWaiting) _readAgain = true;
      if (const Instant now = _platform.scheduler.now(); _started && outcome.nextTryAt && *outcome.nextTryAt > now)
        retryAfter(*outcome.nextTryAt - now);
      publish(_lastReadAt, outcome.startedAt);
      setState({State::Kind::idle, {}});
      writeHeartbeat(HelperHeartbeat::Status::reading);
      break;
    case HelperReadCycle::Outcome::Kind::abandoned:
      break;
  }
}

void HelperEngine::writeHeartbeat(HelperHeartbeat::Status status) {
  try {
    HelperHeartbeat{_platform.scheduler.now(), status, _lastReadAt, _platform.version}.write(
        HelperExchange::folderURL(_platform.container));
  } catch (const std::exception&) {
    // The main app sees an old heartbeat grow stale, which is the truth.
  }
}

void HelperEngine::setOpensAtLogin(bool on) {
  if (on)
    _platform.loginItem.enable();
  else
    _platform.loginItem.disable();
  try {
    _platform.defaults.store({{HelperEngineKeys::kLoginChoice, true}});
  } catch (const FileError&) {
    // The choice is asked for again at the next start; nothing else depends on it.
  }
  publish(_opensAtLogin, _platform.loginItem.isEnabled());
}

void HelperEngine::suspend() {
  _suspended = _isSleepAnnounced = true;
  // The sleep's announcer may be gone before it tells of the end. This clock stops during sleep.
  const QPointer<HelperEngine> self(this);
  _awake = _platform.scheduler.after(kLongestFallingAsleep, [self] {
    if (!self) return;
    self->_suspended = false;
    if (self->_readAgain) self->requestRead();
  });
}

void HelperEngine::resume() {
  if (!_isSleepAnnounced) return;
  _isSleepAnnounced = false;
  _awake.reset();
  _suspended = false;
  requestRead();
}

void HelperEngine::armWatchers() {
  const QPointer<HelperEngine> self(this);
  if (!_watcher)
    _watcher = _platform.fileEvents.watch(_platform.chatDatabase, [self] {
      if (self) self->storeChanged();
    });
  const auto obstacleChanged = [self] {
    if (self) self->obstacleChanged();
  };
  const auto people = HelperPeopleFile::url(HelperExchange::folderURL(_platform.container));
  if (!_peopleWatcher && people) _peopleWatcher = _platform.fileEvents.watch(*people, obstacleChanged);
  if (!_keyObserver) _keyObserver = _platform.secrets.observe(ExchangeKeychain::attributes(), obstacleChanged);
}

void HelperEngine::storeChanged() {
  if (_state.kind == State::Kind::needsFullDiskAccess)
    obstacleChanged();
  else
    debounce();
}

// Something that a read may have missed changed: the store, the key or the people.
void HelperEngine::obstacleChanged() {
  if (_state.kind == State::Kind::idle || _state.kind == State::Kind::failed) return;
  const QPointer<HelperEngine> self(this);
  _recovery = _platform.scheduler.after(kSettling, [self] {
    if (self) self->requestRead();
  });
}

void HelperEngine::debounce() {
  const QPointer<HelperEngine> self(this);
  _pending = _platform.scheduler.after(kDebounce, [self] {
    if (self) self->requestRead();
  });
}

void HelperEngine::databaseIsReadable() {
  if (_started) armWatchers();
}

void HelperEngine::peopleFound(std::int64_t count) {
  publish(_peopleCount, count);
  setState({State::Kind::reading, {}});
}

void HelperEngine::analysisProgress(std::int64_t done, std::int64_t total) {
  if (_daysAnalyzed == done && _daysToAnalyze == total) return;
  _daysAnalyzed = done;
  _daysToAnalyze = total;
  Q_EMIT changed();
}

void HelperEngine::recordsWritten(std::int64_t count) {
  publish(_peopleWritten, _peopleWritten + count);
}

void HelperEngine::setState(State state) {
  publish(_state, std::move(state));
}

}  // namespace pellora
