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
  std::int64_t message = 0;  // line number of the prompt, from 1
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

  // An answer that does not follow the description in every point has no meetups at all.
  static FoundMeetups fromAnswer(std::string_view json);
};

}  // namespace pellora
