#include "PelloraMessagesCore/NewsItem.h"

#include <algorithm>

namespace pellora {

namespace {

constexpr auto& kKinds = MessagesNews::kKindNames;

}  // namespace

GenerationSchema NewsItem::schema() {
  return {"NewsItem",
          {{"message", "The number of the message that says it", GeneratedInteger()},
           {"what", "What happened, as a short sentence in the past or present tense whose subject is their first name",
            GeneratedText()},
           {"kind", "", GeneratedChoice{{kKinds.begin(), kKinds.end()}}},
           {"when", "Words copied from that message that say when it happens or happened; empty when it doesn't say",
            GeneratedText()}}};
}

NewsItem NewsItem::from(const GeneratedContent& content) {
  const auto place = std::find(kKinds.begin(), kKinds.end(), content.text("kind")) - kKinds.begin();
  return {content.integer("message"), content.text("what"), static_cast<MessagesNews::Kind>(place),
          content.text("when")};
}

}  // namespace pellora
