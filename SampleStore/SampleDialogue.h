// What sample people write to each other.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "SampleStore/SamplePerson.h"

namespace pellora {

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
