// One meetup as the language model proposes it; MeetupGuard decides. The description is what the model is told.
// Tested by Tests/Core/FoundMeetupsTests.cpp.
#pragma once

#include <cstdint>
#include <string>

#include "PelloraMessagesCore/GeneratedContent.h"
#include "PelloraMessagesCore/GenerationSchema.h"

namespace pellora {

struct MeetupItem {
  std::int64_t message = 0;  // line number of the prompt, from 1
  std::string what;
  std::string when;

  static GenerationSchema schema();

  // From content read against `schema`.
  static MeetupItem from(const GeneratedContent& content);

  bool operator==(const MeetupItem&) const = default;
};

}  // namespace pellora
