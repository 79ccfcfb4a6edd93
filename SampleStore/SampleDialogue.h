// Made-up people, what they write to each other, and the random numbers that everything made up comes from.
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

// One line of a made-up conversation.
struct SampleLine {
  bool fromMe = false;
  std::string text;
  bool isAttachment = false;  // nothing but a picture
};

}  // namespace pellora

namespace pellora::SampleDialogue {

// Made-up conversations: everyday chat in any amount, and scenes with what a history is looked through for (news,
// meetings, birthdays, links, open questions) and what must not be mistaken for it.

// Exactly `count` lines of chat.
std::vector<SampleLine> chat(SampleRandom& random, std::size_t count);

// The scenes, always the same; `firstName` is the other one's.
std::vector<std::vector<SampleLine>> scenes(const std::string& firstName);

// One line that somebody who is not known writes.
SampleLine strangerLine(SampleRandom& random);

}  // namespace pellora::SampleDialogue
