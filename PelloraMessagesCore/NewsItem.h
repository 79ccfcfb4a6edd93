// One piece of news as the language model proposes it; NewsGuard decides. The description is what the model is told.
// Tested by Tests/Core/FoundNewsTests.cpp.
#pragma once

#include <cstdint>
#include <string>

#include "PelloraMessagesCore/GeneratedContent.h"
#include "PelloraMessagesCore/GenerationSchema.h"
#include "PelloraMessagesCore/MessagesNews.h"

namespace pellora {

struct NewsItem {
  std::int64_t message = 0;  // line number of the prompt, from 1
  std::string what;
  MessagesNews::Kind kind = MessagesNews::Kind::work;
  std::string when;

  static GenerationSchema schema();

  // From content read against `schema`.
  static NewsItem from(const GeneratedContent& content);

  bool operator==(const NewsItem&) const = default;
};

}  // namespace pellora
