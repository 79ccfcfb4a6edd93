// What a made-up history is to look like. The same options give the same content.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct SampleOptions {
  std::uint64_t seed = 1;
  std::size_t messages = 20'000;  // rows of `message`, of every kind
  std::size_t people = 12;        // people one knows
  std::size_t chats = 0;          // at least so many chats, filled up with strangers'; 0: as it comes
  int days = 200;                 // how far back the history goes
  Instant now;                    // where it ends
};

}  // namespace pellora
