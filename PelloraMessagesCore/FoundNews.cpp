#include "PelloraMessagesCore/FoundNews.h"

namespace pellora {

namespace {

constexpr std::size_t kMostNews = 3;

}  // namespace

const GenerationSchema& FoundNews::schema() {
  static const GenerationSchema schema = {
      "FoundNews",
      {{"news", "Their big news; an empty list when there is none",
        GeneratedList{std::make_shared<const GenerationSchema>(NewsItem::schema()), kMostNews}}}};
  return schema;
}

FoundNews FoundNews::fromAnswer(std::string_view json) {
  FoundNews found;
  if (const std::optional<GeneratedContent> content = GeneratedContent::decode(schema(), json))
    for (const GeneratedContent& item : content->items("news")) found.news.push_back(NewsItem::from(item));
  return found;
}

}  // namespace pellora
