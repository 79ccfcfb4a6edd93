// Made-up people, and the random numbers that everything made up comes from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

// Numbers that look random and are the same for the same seed on every machine.
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

// Somebody in a made-up history: a person one knows, or a stranger.
struct SamplePerson {
  Uuid id;
  std::string firstName;
  std::string phone;  // "+12015550101"
  std::string email;  // empty: none

  // The number as people write it: "+1 (201) 555-0101".
  std::string writtenPhone() const {
    return "+1 (" + phone.substr(2, 3) + ") " + phone.substr(5, 3) + "-" + phone.substr(8);
  }
};

// `count` people, the first dozen always the same by name; ids come from the seed.
std::vector<SamplePerson> samplePeople(std::uint64_t seed, std::size_t count);

// The number of the stranger with this index.
std::string sampleStrangerPhone(std::size_t index);

}  // namespace pellora
