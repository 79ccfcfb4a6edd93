#include "Adapters/Linux/Desktop/LogindSleepNotice.h"

#include <cstdlib>

#include "Adapters/Linux/Desktop/DesktopBus.h"

namespace pellora {

namespace {

constexpr char kStandardAddress[] = "unix:path=/run/dbus/system_bus_socket";

class LogindObserver : public SleepObserver {
 public:
  LogindObserver(const std::string& busAddress, std::function<void()> aboutToSleep, std::function<void()> resumed)
      : _connection(busAddress),
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

LogindSleepNotice::LogindSleepNotice() {
  const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
  _busAddress = address != nullptr && *address != '\0' ? address : kStandardAddress;
}

std::unique_ptr<SleepObserver> LogindSleepNotice::observe(std::function<void()> aboutToSleep,
                                                          std::function<void()> resumed) {
  auto observer = std::make_unique<LogindObserver>(_busAddress, std::move(aboutToSleep), std::move(resumed));
  if (!observer->listen()) return nullptr;
  return observer;
}

}  // namespace pellora
