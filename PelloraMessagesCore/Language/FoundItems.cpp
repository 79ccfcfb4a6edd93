#include "PelloraMessagesCore/Language/FoundItems.h"

#include <algorithm>

namespace pellora {

namespace {

constexpr std::size_t kMostMeetups = 2;

}  // namespace

GenerationSchema MeetupItem::schema() {
  return {
      "MeetupItem",
      {{"message", "The number of the message that says it", GeneratedInteger()},
       {"what",
        "Where you were together or what you did, as a few words copied from that message; empty when it doesn't "
        "say",
        GeneratedText()},
       {"when", "Words copied from that message that say when it was; empty when it doesn't say", GeneratedText()}}};
}

MeetupItem MeetupItem::from(const GeneratedContent& content) {
  return {content.integer("message"), content.text("what"), content.text("when")};
}

const GenerationSchema& FoundMeetups::schema() {
  static const GenerationSchema schema = {
      "FoundMeetups",
      {{"meetups", "Times you were together in person; an empty list when there are none",
        GeneratedList{std::make_shared<const GenerationSchema>(MeetupItem::schema()), kMostMeetups}}}};
  return schema;
}

FoundMeetups FoundMeetups::fromAnswer(std::string_view answer) {
  FoundMeetups found;
  if (const std::optional<GeneratedContent> content = GeneratedContent::decode(schema(), answer))
    for (const GeneratedContent& item : content->items("meetups")) found.meetups.push_back(MeetupItem::from(item));
  return found;
}

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
