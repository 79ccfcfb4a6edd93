#include "PelloraMessagesCore/MessagesModel.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "PelloraMessagesCore/Language/FoundItems.h"
#include "PelloraMessagesCore/Language/Prompts.h"
#include "PelloraMessagesCore/SummaryGuard.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::MessagesModel {

namespace {

constexpr std::string_view kNameless = "them";
constexpr std::size_t kFewestCharactersForNews = 15;  // of a day's texts in all
constexpr std::size_t kFewestSentencesForLately = 2;

constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool holdsCue(const std::vector<MessageLine>& lines) {
  return std::any_of(lines.begin(), lines.end(),
                     [](const MessageLine& line) { return MeetupGuard::cueIn(line.text).has_value(); });
}

bool holdsEnoughForNews(const std::vector<MessageLine>& lines) {
  std::size_t count = 0;
  for (const MessageLine& line : lines) {
    count += text::characterCount(line.text);
    if (count >= kFewestCharactersForNews) return true;
  }
  return false;
}

// The number that the two digits at `offset` write, absent without them.
std::optional<int> twoDigits(std::string_view text, std::size_t offset) {
  const auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
  if (text.size() < offset + 2 || !isDigit(text[offset]) || !isDigit(text[offset + 1])) return std::nullopt;
  return (text[offset] - '0') * 10 + (text[offset + 1] - '0');
}

// "Mar 9" for "2025-03-09". A day string of another form, which nothing writes, stays as it is.
std::string shortDay(std::string_view day) {
  const std::optional<int> month = twoDigits(day, 5);
  const std::optional<int> dayOfMonth = twoDigits(day, 8);
  if (day.size() != 10 || !month || !dayOfMonth || *month < 1 || *month > 12) return PromptLines::harmless(day);
  return std::string(kMonths[static_cast<std::size_t>(*month) - 1]) + " " + std::to_string(*dayOfMonth);
}

// The raw answer, absent when there is no model or it gave none. `schema` is absent for plain text and otherwise
// lives as long as the process.
Task<std::optional<std::string>> rawAnswer(LanguageModel& model, Question question, const GenerationSchema* schema) {
  try {
    const bool isAvailable = co_await model.isAvailable();
    if (!isAvailable) co_return std::nullopt;
    if (schema != nullptr) {
      LanguageModel::Answer json = co_await model.respond(question.instructions, question.prompt, *schema);
      co_return std::optional<std::string>(std::move(json.text));
    }
    LanguageModel::Answer answer = co_await model.respond(question.instructions, question.prompt);
    co_return std::optional<std::string>(std::move(answer.text));
  } catch (...) {
    // Any error means that there is no answer.
  }
  co_return std::nullopt;
}

}  // namespace

Task<std::optional<std::string>> daySentence(LanguageModel& model, MessagesDayDraft draft, std::string firstName) {
  if (draft.lines.empty()) co_return std::nullopt;
  const std::string name = firstName.empty() ? std::string(kNameless) : firstName;
  Question question{ModelInstructions::daySentence(name), PromptLines::spokenBlock(draft.lines, name)};
  question.prompt += ModelInstructions::kDaySentenceEnding;
  const std::optional<std::string> text = co_await rawAnswer(model, std::move(question), nullptr);
  if (!text) co_return std::nullopt;
  co_return SummaryGuard::checkSentence(withTypographicApostrophes(*text, name), name);
}

Task<std::vector<MessagesMeetup>> findMeetups(LanguageModel& model, MessagesDayDraft draft, std::string firstName,
                                              LocalCalendar calendar) {
  std::vector<MessagesMeetup> accepted;
  if (firstName.empty() || !holdsCue(draft.lines)) co_return accepted;
  const std::vector<MessageLine> lines = PromptLines::kept(draft.lines);
  Question question{ModelInstructions::meetups(firstName), PromptLines::numberedBlock(lines, firstName)};
  question.prompt += ModelInstructions::kMeetupsEnding;
  const std::optional<std::string> json = co_await rawAnswer(model, std::move(question), &FoundMeetups::schema());
  if (json) accepted = MeetupGuard::accept(proposedMeetups(*json), lines, draft.record.lastMessageAt, calendar);
  co_return accepted;
}

Task<std::vector<MessagesNews>> findNews(LanguageModel& model, MessagesDayDraft draft, std::string firstName) {
  std::vector<MessagesNews> accepted;
  if (firstName.empty() || !holdsEnoughForNews(draft.lines)) co_return accepted;
  const std::vector<MessageLine> lines = PromptLines::kept(draft.lines);
  if (!NewsGuard::hasCandidateLine(lines)) co_return accepted;
  Question question{ModelInstructions::news(firstName), PromptLines::numberedBlock(lines, firstName)};
  question.prompt += ModelInstructions::newsEnding(firstName);
  const std::optional<std::string> json = co_await rawAnswer(model, std::move(question), &FoundNews::schema());
  if (json) accepted = NewsGuard::accept(proposedNews(*json, firstName), lines, firstName, draft.record.lastMessageAt);
  co_return accepted;
}

std::vector<MeetupGuard::Candidate> proposedMeetups(std::string_view answer) {
  std::vector<MeetupGuard::Candidate> result;
  for (MeetupItem& item : FoundMeetups::fromAnswer(answer).meetups)
    result.push_back({item.message, std::move(item.what), std::move(item.when)});
  return result;
}

std::vector<NewsGuard::Candidate> proposedNews(std::string_view answer, std::string_view firstName) {
  std::vector<NewsGuard::Candidate> result;
  for (NewsItem& item : FoundNews::fromAnswer(answer).news)
    result.push_back({item.message, withTypographicApostrophes(item.what, firstName), item.kind, std::move(item.when)});
  return result;
}

std::optional<Question> latelyQuestion(const std::vector<MessagesDayRecord>& days, const std::string& firstName) {
  std::vector<const MessagesDayRecord*> told;
  for (const MessagesDayRecord& day : days)
    if (day.summary) told.push_back(&day);
  if (told.size() < kFewestSentencesForLately || firstName.empty()) return std::nullopt;
  std::sort(told.begin(), told.end(), [](const MessagesDayRecord* left, const MessagesDayRecord* right) {
    return left->day != right->day ? left->day < right->day : left < right;
  });
  std::string lines;
  for (const MessagesDayRecord* day : told) {
    if (SummaryGuard::looksLikeInstruction(*day->summary)) continue;
    lines += (lines.empty() ? "" : "\n") + shortDay(day->day) + ": " + PromptLines::harmless(*day->summary);
  }
  if (lines.empty()) return std::nullopt;
  return Question{ModelInstructions::lately(firstName), std::string(ModelInstructions::kLatelyOpening) + lines +
                                                            std::string(ModelInstructions::kLatelyEnding)};
}

Task<std::optional<std::string>> latelySummary(LanguageModel& model, std::vector<MessagesDayRecord> days,
                                               std::string firstName) {
  std::optional<Question> question = latelyQuestion(days, firstName);
  if (!question) co_return std::nullopt;
  const std::optional<std::string> text = co_await rawAnswer(model, *std::move(question), nullptr);
  if (!text) co_return std::nullopt;
  co_return SummaryGuard::checkLately(withTypographicApostrophes(*text, firstName), firstName);
}

}  // namespace pellora::MessagesModel
