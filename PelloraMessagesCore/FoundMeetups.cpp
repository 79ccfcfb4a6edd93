#include "PelloraMessagesCore/FoundMeetups.h"

namespace pellora {

namespace {

constexpr std::size_t kMostMeetups = 2;

}  // namespace

const GenerationSchema& FoundMeetups::schema() {
  static const GenerationSchema schema = {
      "FoundMeetups",
      {{"meetups", "Times you were together in person; an empty list when there are none",
        GeneratedList{std::make_shared<const GenerationSchema>(MeetupItem::schema()), kMostMeetups}}}};
  return schema;
}

FoundMeetups FoundMeetups::fromAnswer(std::string_view json) {
  FoundMeetups found;
  if (const std::optional<GeneratedContent> content = GeneratedContent::decode(schema(), json))
    for (const GeneratedContent& item : content->items("meetups")) found.meetups.push_back(MeetupItem::from(item));
  return found;
}

}  // namespace pellora
