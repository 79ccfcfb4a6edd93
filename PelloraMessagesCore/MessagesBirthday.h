// A birthday that the user wished somebody, as BirthdayFinder finds it.
#pragma once

#include <optional>
#include <string>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

struct MessagesBirthday {
  std::optional<std::string> name;  // absent: the person's own birthday
  int month = 0;                    // 1 to 12
  int day = 0;                      // 1 to 31
  std::optional<int> age;           // 1 to 110
  Instant wishedAt;                 // time of the day's first message

  bool operator==(const MessagesBirthday&) const = default;
};

}  // namespace pellora
