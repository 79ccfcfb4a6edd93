#include "PelloraMessagesCore/MeetupItem.h"

namespace pellora {

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

}  // namespace pellora
