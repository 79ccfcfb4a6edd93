#include "Adapters/Linux/LogindSleepNotice.h"

#include "Adapters/Linux/BusSignalReceiver.h"
#include "Adapters/Linux/PrivateBusConnection.h"

namespace pellora {

namespace {

class LogindObserver : public SleepObserver {
 public:
  LogindObserver(std::function<void()> aboutToSleep, std::function<void()> resumed)
      : _connection(QDBusConnection::SystemBus),
        _receiver([aboutToSleep = std::move(aboutToSleep), resumed = std::move(resumed)](bool sleeping) {
          sleeping ? aboutToSleep() : resumed();
        }) {}

  bool listen() {
    return _connection.isConnected() &&
           _connection.bus().connect(QStringLiteral("org.freedesktop.login1"),
                                     QStringLiteral("/org/freedesktop/login1"),
                                     QStringLiteral("org.freedesktop.login1.Manager"),
                                     QStringLiteral("PrepareForSleep"), &_receiver, BusSignalReceiver::truthSlot()) &&
           _connection.flush();
  }

 private:
  PrivateBusConnection _connection;
  BusSignalReceiver _receiver;
};

}  // namespace

std::unique_ptr<SleepObserver> LogindSleepNotice::observe(std::function<void()> aboutToSleep,
                                                          std::function<void()> resumed) {
  auto observer = std::make_unique<LogindObserver>(std::move(aboutToSleep), std::move(resumed));
  if (!observer->listen()) return nullptr;
  return observer;
}

}  // namespace pellora
