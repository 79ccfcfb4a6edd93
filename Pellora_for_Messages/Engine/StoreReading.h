// What one read takes from the Messages store, in one snapshot: everything of the window, or the days that new rows
// touch. Decides which of the two. Blocks; for the background thread.
// Tested by Tests/App/HelperEngineReadTests.cpp and ReadHistoryTests.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "PelloraMessagesCore/HelperDayNotes.h"
#include "PelloraMessagesCore/MessagesDayRecord.h"
#include "Pellora_for_Messages/Engine/ReadContext.h"

namespace pellora {

struct StoreReading {
  static constexpr int kIncrementalLimit = 5'000;  // rows

  // A read is full when there is no trustworthy earlier read to build on, or when days wait for a model that is there.
  // Throws ChatDatabase::Failure.
  static StoreReading of(const ReadContext& context, const ReadMemory& memory, bool isModelThere);

  std::vector<MessagesDayDraft> drafts{};  // oldest first
  HelperDayNotes::Reread reread = HelperDayNotes::Reread::full;
  std::int64_t lastRowID = 0;  // the highest row that is covered
  std::string rowMark{};       // of that row
  bool isMoreWaiting = false;  // there are more new rows than one read takes
};

}  // namespace pellora
