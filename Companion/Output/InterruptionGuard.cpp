#include "Companion/Output/InterruptionGuard.h"

namespace pellora {

namespace {

// A signal handler can reach nothing else.
volatile std::sig_atomic_t arrivedSignal = 0;

extern "C" void rememberSignal(int number) {
  arrivedSignal = number;
}

}  // namespace

InterruptionGuard::InterruptionGuard() {
  arrivedSignal = 0;
  struct sigaction remember{};
  remember.sa_handler = rememberSignal;
  remember.sa_flags = SA_RESTART;
  sigemptyset(&remember.sa_mask);
  sigaction(SIGINT, &remember, &_interrupt);
  sigaction(SIGTERM, &remember, &_terminate);
}

bool InterruptionGuard::isRequested() {
  return arrivedSignal != 0;
}

InterruptionGuard::~InterruptionGuard() {
  sigaction(SIGINT, &_interrupt, nullptr);
  sigaction(SIGTERM, &_terminate, nullptr);
  if (arrivedSignal != 0) raise(arrivedSignal);
}

}  // namespace pellora
