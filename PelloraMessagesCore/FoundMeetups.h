// The language model's whole answer to the question about meetups: two at most.
// Tested by Tests/Core/FoundMeetupsTests.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "PelloraMessagesCore/MeetupItem.h"

namespace pellora {

struct FoundMeetups {
  std::vector<MeetupItem> meetups;

  // The description asked with; lives as long as the process.
  static const GenerationSchema& schema();

  // An answer that does not follow the description in every point has no meetups at all.
  static FoundMeetups fromAnswer(std::string_view json);
};

}  // namespace pellora
