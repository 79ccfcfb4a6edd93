// The language model's whole answers to the structured questions: meetups and big news. The guards decide what is kept.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Language/GeneratedContent.h"

namespace pellora {

// The kinds of big news, as they are stored and as the language model is offered them.
enum class NewsKind { work, home, family, school, travel, health, loss, milestone };

// The names of the kinds in their order.
inline constexpr std::array<std::string_view, 8> kNewsKindNames = {"work",   "home",   "family", "school",
                                                                   "travel", "health", "loss",   "milestone"};

// The language model's whole answer to the question about meetups: two at most.
// Tested by Tests/Core/FoundItemsTests.cpp.

// One meetup as the model proposes it; MeetupGuard decides.
struct MeetupItem {
  std::int64_t message = 0;  // line number in the prompt, from 1
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

  // Without the items that do not fit; an answer that is not readable at all has no meetups.
  static FoundMeetups fromAnswer(std::string_view answer);
};

// The language model's whole answer to the question about big news: three pieces at most.
// Tested by Tests/Core/FoundItemsTests.cpp.

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
