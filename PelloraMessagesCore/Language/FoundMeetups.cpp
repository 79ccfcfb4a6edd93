#include "PelloraMessagesCore/Language/FoundMeetups.h"

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

}  // namespace pellora
