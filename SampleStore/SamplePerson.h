// Somebody in a made-up history: a person one knows, or a stranger.
#pragma once

#include <string>
#include <vector>

#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

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
