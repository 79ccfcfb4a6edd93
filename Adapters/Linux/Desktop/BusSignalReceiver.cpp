#include "Adapters/Linux/Desktop/BusSignalReceiver.h"

namespace pellora {

const char* BusSignalReceiver::plainSlot() {
  return SLOT(receive());
}

const char* BusSignalReceiver::truthSlot() {
  return SLOT(receiveTruth(bool));
}

}  // namespace pellora
