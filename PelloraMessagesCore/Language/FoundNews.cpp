#include "PelloraMessagesCore/Language/FoundNews.h"

#include <algorithm>

namespace pellora {

namespace {

constexpr std::size_t kMostNews = 3;

}  // namespace

GenerationSchema NewsItem::schema() {
  return {"NewsItem",
          {{"message", "The number of the message that says it", GeneratedInteger()},
           {"what", "What happened, as a short sentence in the past or present tense whose subject is their first name",
            GeneratedText()},
           {"kind", "", GeneratedChoice{{kNewsKindNames.begin(), kNewsKindNames.end()}}},
           {"when", "Words copied from that message that say when it happens or happened; empty when it doesn't say",
            GeneratedText()}}};
}

NewsItem NewsItem::from(const GeneratedContent& content) {
  const auto place =
      std::find(kNewsKindNames.begin(), kNewsKindNames.end(), content.text("kind")) - kNewsKindNames.begin();
  return {content.integer("message"), content.text("what"), static_cast<NewsKind>(place), content.text("when")};
}

const GenerationSchema& FoundNews::schema() {
  static const GenerationSchema schema = {
      "FoundNews",
      {{"news", "Their big news; an empty list when there is none",
        GeneratedList{std::make_shared<const GenerationSchema>(NewsItem::schema()), kMostNews}}}};
  return schema;
}

FoundNews FoundNews::fromAnswer(std::string_view answer) {
  FoundNews found;
  if (const std::optional<GeneratedContent> content = GeneratedContent::decode(schema(), answer))
    for (const GeneratedContent& item : content->items("news")) found.news.push_back(NewsItem::from(item));
  return found;
}

}  // namespace pellora
