// A person's day from its lines to its findings, and the days to the lately summary, over a model that answers as a
// real one would, good and bad.
#include <gtest/gtest.h>

#include "Adapters/InMemory/ScriptedLanguageModel.h"
#include "PelloraMessagesCore/MessagesModel.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "Tests/Support/EventLoopWait.h"

namespace pellora {
namespace {

using support::awaited;

std::string scripted(const ScriptedLanguageModel::Asked& asked) {
  if (asked.schemaName == "FoundMeetups")
    return R"({"meetups":[{"message":1,"what":"lunch at Joe's","when":"on Sunday"},{"message":9,"what":"","when":""}]})";
  if (asked.schemaName == "FoundNews")
    return R"({"news":[{"message":2,"what":"sam got engaged to Dana! So happy","kind":"family","when":"last night"},)"
           R"({"message":3,"what":"Sam congratulates.","kind":"milestone","when":""},)"
           R"({"message":4,"what":"Sam might buy a new house.","kind":"home","when":""}]})";
  if (asked.prompt.starts_with("<days>")) return "\"Lately you and Sam talked about the wedding. Dana came up. More.\"";
  return "\u201CYou and Sam talked about lunch and the engagement. It was nice.\u201D";
}

MessagesDayDraft draft() {
  MessagesDayDraft draft;
  draft.record.day = "2025-06-04";
  draft.record.lastMessageAt = instantAtSeconds(1'749'038'400);
  draft.lines = {{true, "Thanks for lunch at Joe\u2019s on Sunday, thanks for lunch at Joe's"},
                 {false, "Dana and I got engaged last night!!"},
                 {true, "Congratulations on the engagement"},
                 {false, "We might buy a new house"}};
  return draft;
}

TEST(LanguageWork, ADayGetsItsSentenceMeetupsAndNews) {
  ScriptedLanguageModel model(scripted);
  const LocalCalendar calendar = LocalCalendar::inTimeZone("UTC");
  EXPECT_EQ(awaited(MessagesModel::daySentence(model, draft(), "Sam")),
            "You and Sam talked about lunch and the engagement.");
  EXPECT_EQ(awaited(MessagesModel::findMeetups(model, draft(), "Sam", calendar)),
            (std::vector<MessagesMeetup>{{"lunch at Joe's", instantAtSeconds(1'748'736'000), true,
                                          instantAtSeconds(1'749'038'400), "thanks for lunch"}}));
  EXPECT_EQ(awaited(MessagesModel::findNews(model, draft(), "Sam")),
            (std::vector<MessagesNews>{{"Sam got engaged to Dana!", MessagesNews::Kind::family, "last night",
                                        instantAtSeconds(1'749'038'400)}}));
  EXPECT_EQ(model.asked().size(), 3u);
}

TEST(LanguageWork, TheDaysGetTheirSummaryAndNewsOnce) {
  ScriptedLanguageModel model(scripted);
  std::vector<MessagesDayRecord> days;
  std::vector<MessagesNews> news;
  for (const char* day : {"2025-06-04", "2025-06-05"}) {
    MessagesDayRecord record = draft().record;
    record.day = day;
    record.summary = awaited(MessagesModel::daySentence(model, draft(), "Sam"));
    record.news = awaited(MessagesModel::findNews(model, draft(), "Sam"));
    news.insert(news.end(), record.news.begin(), record.news.end());
    days.push_back(record);
  }
  EXPECT_EQ(awaited(MessagesModel::latelySummary(model, days, "Sam")),
            "Lately you and Sam talked about the wedding. Dana came up.");
  EXPECT_EQ(model.asked().size(), 5u);
  EXPECT_EQ(NewsGuard::withoutRepeats(news, "Sam").size(), 1u);
}

}  // namespace
}  // namespace pellora
