// The spine of the helper: decides when to read, lets one read run at a time, publishes what it is doing and keeps
// the progress keys. One per process, created by the app, on the main thread, where everything of it runs.
// Reads never throw: an error becomes the state `failed` and changes no stored progress, so the next read repeats
// the same work. Tested by Tests/App/HelperEngineTests.cpp and HelperEngineReadTests.cpp.
#pragma once

#include <QObject>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>

#include "PelloraMessagesCore/HelperExchange.h"
#include "Pellora_for_Messages/Engine/HelperEngineState.h"
#include "Pellora_for_Messages/Engine/HelperPlatform.h"
#include "Pellora_for_Messages/Engine/HelperReadCycle.h"

namespace pellora {

class HelperEngine : public QObject, private HelperReadCycle::Delegate {
  Q_OBJECT

 public:
  using State = HelperEngineState;

  static constexpr std::chrono::seconds kReadInterval{900};
  static constexpr std::chrono::seconds kDebounce{30};
  // A store that is being copied into place, or people that are being imported, are read when they are quiet.
  static constexpr std::chrono::seconds kSettling{2};
  // How long to wait before retrying a read that another process's read blocked.
  static constexpr std::chrono::seconds kReadLockInterval{1};
  // Still running so long after the announcement, the machine did not go to sleep or is awake again.
  static constexpr std::chrono::seconds kLongestFallingAsleep{120};

  explicit HelperEngine(HelperPlatform platform, QObject* parent = nullptr);
  ~HelperEngine() override;

  // Decides about the login item on the first start ever, schedules reads, and starts the first one. A second call
  // does nothing.
  void start();

  // Reads once; while a read runs, any number of calls together cause one more.
  Task<void> readNow();

  // As readNow, without anything to await; the read begins when the event loop comes round to it.
  void requestRead();

  // Registers or unregisters the program with the platform's login items. The field shows what the platform says.
  void setOpensAtLogin(bool on);

  // Between these two no read begins; the second begins one.
  void suspend();
  void resume();

  const State& state() const { return _state; }
  const std::optional<Instant>& lastReadAt() const { return _lastReadAt; }
  std::int64_t peopleWritten() const { return _peopleWritten; }  // since the process started
  std::int64_t peopleCount() const { return _peopleCount; }      // at the last read
  bool opensAtLogin() const { return _opensAtLogin; }

  // Days to analyze in the running read and how many of them are done; both 0 when none is analyzed.
  std::int64_t daysToAnalyze() const { return _daysToAnalyze; }
  std::int64_t daysAnalyzed() const { return _daysAnalyzed; }

  const HelperPlatform& platform() const { return _platform; }

 Q_SIGNALS:
  // Any of the fields above has another value.
  void changed();

 private:
  void databaseIsReadable() override;
  void peopleFound(std::int64_t count) override;
  void analysisProgress(std::int64_t done, std::int64_t total) override;
  void recordsWritten(std::int64_t count) override;
  bool isReadAgainWanted() const override { return _readAgain; }

  Task<void> readOnEventLoop();
  Task<void> runCycle();
  void retryAfter(Nanoseconds delay);
  void finishCycle(const HelperReadCycle::Outcome& outcome);
  void writeHeartbeat(HelperHeartbeat::Status status);
  void armWatchers();
  void storeChanged();
  void obstacleChanged();
  void debounce();
  void setState(State state);

  template <class Field, class Value>
  void publish(Field& field, Value value);

  HelperPlatform _platform;
  State _state;
  std::optional<Instant> _lastReadAt;
  std::int64_t _peopleWritten = 0;
  std::int64_t _peopleCount = 0;
  bool _opensAtLogin = false;
  std::int64_t _daysToAnalyze = 0;
  std::int64_t _daysAnalyzed = 0;
  bool _started = false;
  bool _suspended = false;
  bool _isSleepAnnounced = false;
  bool _isReading = false;
  bool _readAgain = false;
  std::unique_ptr<ScheduledCall> _timer;
  std::unique_ptr<FileWatch> _watcher;
  std::unique_ptr<FileWatch> _peopleWatcher;
  std::unique_ptr<SecretStoreObserver> _keyObserver;
  std::unique_ptr<ScheduledCall> _pending;
  std::unique_ptr<ScheduledCall> _recovery;  // a read once what was missing may be there
  std::unique_ptr<ScheduledCall> _awake;     // ends a suspension that nobody ends
  std::unique_ptr<ScheduledCall> _retry;     // when the model is to be asked again, or another process may have read
  std::unique_ptr<NotificationObserver> _readRequests;
  std::unique_ptr<HeldReadLock> _readLock;  // during a read
  std::stop_source _stop;                   // of the queries of a read that goes on in the background
};

}  // namespace pellora
