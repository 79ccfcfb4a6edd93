// The language model's whole answer to the question about big news: three pieces at most.
// Tested by Tests/Core/FoundNewsTests.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "PelloraMessagesCore/NewsItem.h"

namespace pellora {

struct FoundNews {
  std::vector<NewsItem> news;

  // The description asked with; lives as long as the process.
  static const GenerationSchema& schema();

  // An answer that does not follow the description in every point has no news at all.
  static FoundNews fromAnswer(std::string_view json);
};

}  // namespace pellora
