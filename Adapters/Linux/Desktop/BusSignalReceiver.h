// Calls a function for a signal on a message bus, with the truth value that the signal may carry.
#pragma once

#include <QObject>
#include <functional>

namespace pellora {

class BusSignalReceiver : public QObject {
  Q_OBJECT

 public:
  explicit BusSignalReceiver(std::function<void(bool)> handler) : _handler(std::move(handler)) {}

  // For connecting: signals without arguments, signals with one truth value.
  static const char* plainSlot();
  static const char* truthSlot();

  Q_SLOT void receive() { receiveTruth(false); }
  Q_SLOT void receiveTruth(bool value) {
    const std::function<void(bool)> handler = _handler;  // the handler may destroy this receiver
    handler(value);
  }

 private:
  std::function<void(bool)> _handler;
};

}  // namespace pellora
