// The day records that are known already when a read begins: those of the notes and those that an interrupted read
// left behind. Tells which of them may stand for a day that was found again. Keeps references to both lists.
// Tested by Tests/Core/KnownDaysTests.cpp.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

class KnownDays {
 public:
  KnownDays(const std::vector<MessagesDayRecord>& stored, const std::vector<MessagesDayRecord>& leftBehind);

  // The record that can be taken over for the day `found`: same counts and same last message, to the whole second
  // (files keep no more). Null when the day has to be made anew: when it changed, or was never analysed although
  // the model is there now.
  const MessagesDayRecord* reusable(const MessagesDayRecord& found, bool modelIsThere) const;

 private:
  using Records = std::unordered_map<std::string, const MessagesDayRecord*>;

  Records _stored;
  Records _leftBehind;
};

}  // namespace pellora
