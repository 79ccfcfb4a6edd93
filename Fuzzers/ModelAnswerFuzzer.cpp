// Answers of a language model: any bytes give items or none, and the guards keep only what the messages bear
// out. The answer comes before the first zero byte, the messages after it, one per line.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Language/FoundItems.h"
#include "PelloraMessagesCore/MeetupGuard.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/SummaryGuard.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMostMeetups = 2;
constexpr std::size_t kMostNews = 3;

std::vector<pellora::MessageLine> linesOf(std::string_view bytes) {
  std::vector<pellora::MessageLine> lines;
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    lines.push_back({end % 2 == 0, pellora::text::repairedUtf8(bytes.substr(0, end))});
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  return lines;
}

void guardMeetups(std::string_view answer, const std::vector<pellora::MessageLine>& lines) {
  const auto found = pellora::FoundMeetups::fromAnswer(answer);
  if (found.meetups.size() > kMostMeetups) std::abort();
  std::vector<pellora::MeetupGuard::Candidate> candidates;
  for (const auto& item : found.meetups) candidates.push_back({item.message, item.what, item.when});
  const auto calendar = pellora::LocalCalendar::inTimeZone("America/New_York");
  const auto kept = pellora::MeetupGuard::accept(candidates, lines, pellora::instantAtSeconds(1'773'144'000), calendar);
  if (kept.size() > candidates.size()) std::abort();
}

void guardNews(std::string_view answer, const std::vector<pellora::MessageLine>& lines) {
  const auto found = pellora::FoundNews::fromAnswer(answer);
  if (found.news.size() > kMostNews) std::abort();
  std::vector<pellora::NewsGuard::Candidate> candidates;
  for (const auto& item : found.news) candidates.push_back({item.message, item.what, item.kind, item.when});
  const auto kept = pellora::NewsGuard::accept(candidates, lines, "Sam", pellora::instantAtSeconds(1'773'144'000));
  if (kept.size() > candidates.size()) std::abort();
  const auto single = pellora::NewsGuard::withoutRepeats(kept, "Sam");
  if (single.size() > kept.size() || pellora::NewsGuard::withoutRepeats(single, "Sam") != single) std::abort();
}

void guardSentence(const std::string& answer) {
  for (const auto& kept :
       {pellora::SummaryGuard::checkSentence(answer, "Sam"), pellora::SummaryGuard::checkLately(answer, "Sam")})
    if (kept && (kept->empty() || pellora::SummaryGuard::looksLikeLink(*kept))) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(bytes.find('\0'), bytes.size());
  const std::string_view answer = bytes.substr(0, end);
  const auto lines = linesOf(bytes.substr(std::min(end + 1, bytes.size())));
  guardMeetups(answer, lines);
  guardNews(answer, lines);
  guardSentence(pellora::text::repairedUtf8(answer));
  return 0;
}
