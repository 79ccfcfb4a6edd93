// The language model's whole answer to the question about meetups: two at most.
// Tested by Tests/Core/FoundMeetupsTests.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/GeneratedContent.h"
#include "PelloraMessagesCore/Language/GenerationSchema.h"

namespace pellora {

// One meetup as the model proposes it; MeetupGuard decides.
struct MeetupItem {
  std::int64_t message = 0;  // line number in the prompt, from 1
  std::string what;
  std::string when;

  static GenerationSchema schema();

  // From content read against `schema`.
  static MeetupItem from(const GeneratedContent& content);

  bool operator==(const MeetupItem&) const = default;
};

struct FoundMeetups {
  std::vector<MeetupItem> meetups;

  // The description asked with; lives as long as the process.
  static const GenerationSchema& schema();

  // Without the items that do not fit; an answer that is not readable at all has no meetups.
  static FoundMeetups fromAnswer(std::string_view answer);
};

}  // namespace pellora
