// Numbers that look random and are the same for the same seed on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace pellora {

class SampleRandom {
 public:
  explicit SampleRandom(std::uint64_t seed) : _state(seed) {}

  std::uint64_t next() {
    _state += 0x9E3779B97F4A7C15;
    std::uint64_t value = _state;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
  }

  // 0 to limit - 1; limit above 0.
  std::uint64_t below(std::uint64_t limit) { return next() % limit; }
  bool chance(unsigned percent) { return below(100) < percent; }

  template <class Value>
  const Value& pick(std::span<const Value> values) {
    return values[below(values.size())];
  }

 private:
  std::uint64_t _state;
};

}  // namespace pellora
