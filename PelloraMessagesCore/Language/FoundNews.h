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
  std::int64_t message = 0;  // line number of the prompt, from 1
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

  // An answer that does not follow the description in every point has no news at all.
  static FoundNews fromAnswer(std::string_view json);
};

}  // namespace pellora
