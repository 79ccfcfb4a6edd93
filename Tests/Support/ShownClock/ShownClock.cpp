// A library to preload: the program sees a wall clock that stands where PELLORA_CLOCK says, in nanoseconds since 1970.
// Everything that counts time instead of telling it goes on as usual.
#include <dlfcn.h>
#include <sys/time.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

std::int64_t shown() {
  const char* text = std::getenv("PELLORA_CLOCK");
  return text == nullptr ? 0 : std::strtoll(text, nullptr, 10);
}

timespec shownTime() {
  return {static_cast<time_t>(shown() / kSecond), static_cast<long>(shown() % kSecond)};
}

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept {
  if (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE) {
    *time = shownTime();
    return 0;
  }
  using Function = int(clockid_t, timespec*);
  static auto* const real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "clock_gettime"));
  return real(clock, time);
}

int gettimeofday(timeval* time, void*) noexcept {
  const timespec now = shownTime();
  *time = {now.tv_sec, now.tv_nsec / 1000};
  return 0;
}

time_t time(time_t* result) noexcept {
  const time_t now = shownTime().tv_sec;
  if (result != nullptr) *result = now;
  return now;
}

}  // extern "C"
