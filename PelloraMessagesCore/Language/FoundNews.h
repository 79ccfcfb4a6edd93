// The language model's whole answer to the question about big news: three pieces at most.
// Tested by Tests/Core/FoundNewsTests.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/GeneratedContent.h"
#include "PelloraMessagesCore/Language/GenerationSchema.h"
#include "PelloraMessagesCore/Language/NewsKind.h"

namespace pellora {

// One piece as the model proposes it; NewsGuard decides.
struct NewsItem {
  std::int64_t message = 0;  // line number in the prompt, from 1
  std::string what;
  NewsKind kind = NewsKind::work;
  std::string when;

  static GenerationSchema schema();

  // From content read against `schema`.
  static NewsItem from(const GeneratedContent& content);

  bool operator==(const NewsItem&) const = default;
};

struct FoundNews {
  std::vector<NewsItem> news;

  // The description asked with; lives as long as the process.
  static const GenerationSchema& schema();

  // Without the items that do not fit; an answer that is not readable at all has no news.
  static FoundNews fromAnswer(std::string_view answer);
};

}  // namespace pellora
