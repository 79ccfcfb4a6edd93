// Made-up conversations: everyday chat in any amount, and scenes with what a history is looked through for (news,
// meetings, birthdays, links, open questions) and what must not be mistaken for it.
#pragma once

#include <cstddef>
#include <vector>

#include "SampleStore/SampleLine.h"
#include "SampleStore/SampleRandom.h"

namespace pellora::SampleDialogue {

// Exactly `count` lines of chat.
std::vector<SampleLine> chat(SampleRandom& random, std::size_t count);

// The scenes, always the same; `firstName` is the other one's.
std::vector<std::vector<SampleLine>> scenes(const std::string& firstName);

// One line that somebody who is not known writes.
SampleLine strangerLine(SampleRandom& random);

}  // namespace pellora::SampleDialogue
