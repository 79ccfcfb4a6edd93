// Grouping, birthday hints and links over a window of 50,000 short messages, and its parts.
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "PelloraMessagesCore/BirthdayFinder.h"
#include "PelloraMessagesCore/MessagesDayBuilder.h"
#include "PelloraMessagesCore/Text/LinkDetector.h"
#include "PelloraMessagesCore/Text/Text.h"
#include "PelloraMessagesCore/Time/LocalCalendar.h"

namespace pellora {
namespace {

constexpr std::int64_t kMessages = 50'000;
constexpr std::int64_t kPeople = 40;
constexpr std::int64_t kWindow = 30 * 86'400;
constexpr std::int64_t kWindowStart = 1'792'700'000;

struct Window {
  std::vector<HistoryMessage> messages;
  ChatParticipants chats;
  std::vector<HelperPerson> people;
};

std::string text(std::mt19937& random) {
  static const std::vector<std::string> words = {"hey",  "dinner", "tomorrow", "the",  "a",     "happy", "but",
                                                 "been", "see",    "you",      "at",   "maybe", "lol",   "That's",
                                                 "ok.",  "great!", "where",    "home", "so",    "busy",  "what?"};
  std::string result;
  for (unsigned count = 3 + random() % 10; count > 0; --count) result += words[random() % words.size()] + " ";
  const unsigned kind = random() % 100;
  if (kind == 0) result += "https://example.com/watch?v=" + std::to_string(random());
  if (kind == 1) result += "\U0001F600\u2019";
  if (kind == 2) result += "example.org, ok.so";
  if (random() % 1'000 == 0) result += "Happy birthday Maya";
  return result;
}

Window makeWindow() {
  std::mt19937 random(1);
  Window window;
  for (std::int64_t person = 0; person < kPeople; ++person) {
    const std::string number = std::to_string(5'550'000'000 + person);
    std::array<std::uint8_t, 16> bytes{};
    bytes[0] = static_cast<std::uint8_t>(person);
    window.people.push_back({Uuid(bytes), "Person", {number}, {}});
    window.chats[person] = {"+1" + number};
  }
  for (std::int64_t row = 0; row < kMessages; ++row)
    window.messages.push_back({row, instantAtSeconds(kWindowStart + row * kWindow / kMessages), random() % 2 == 0,
                               text(random), static_cast<std::int64_t>(random() % kPeople)});
  return window;
}

const Window& window() {
  static const Window instance = makeWindow();
  return instance;
}

void buildDrafts(benchmark::State& state) {
  const HandleMatcher matcher(window().people);
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<HistoryMessage> messages = window().messages;
    const LocalCalendar calendar = LocalCalendar::inTimeZone("Europe/Berlin");
    state.ResumeTiming();
    auto drafts =
        MessagesDayBuilder::drafts(std::move(messages), window().chats, matcher, matcher.firstNames(), calendar);
    benchmark::DoNotOptimize(drafts);
    state.PauseTiming();
    drafts.clear();
    state.ResumeTiming();
  }
}
BENCHMARK(buildDrafts)->Unit(benchmark::kMillisecond);

void dayOfEveryMessage(benchmark::State& state) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("Europe/Berlin");
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages) benchmark::DoNotOptimize(calendar.dayString(message.date));
}
BENCHMARK(dayOfEveryMessage)->Unit(benchmark::kMillisecond);

void dateOfEveryMessage(benchmark::State& state) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("Europe/Berlin");
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages) benchmark::DoNotOptimize(calendar.date(message.date));
}
BENCHMARK(dateOfEveryMessage)->Unit(benchmark::kMillisecond);

void startOfEveryMessagesDay(benchmark::State& state) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("Europe/Berlin");
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages) benchmark::DoNotOptimize(calendar.startOfDay(message.date));
}
BENCHMARK(startOfEveryMessagesDay)->Unit(benchmark::kMillisecond);

// Once per read: looks whether the time zone has changed and where its clocks change around today.
void calendarOfThisMoment(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(LocalCalendar::current());
}
BENCHMARK(calendarOfThisMoment)->Unit(benchmark::kMicrosecond);

void linksOfEveryMessage(benchmark::State& state) {
  const LinkDetector detector;
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages) benchmark::DoNotOptimize(detector.links(message.text));
}
BENCHMARK(linksOfEveryMessage)->Unit(benchmark::kMillisecond);

// The floor of everything that looks at every character.
void bytesOfEveryMessage(benchmark::State& state) {
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages) benchmark::DoNotOptimize(text::isAscii(message.text));
}
BENCHMARK(bytesOfEveryMessage)->Unit(benchmark::kMillisecond);

void charactersOfEveryMessage(benchmark::State& state) {
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages)
      benchmark::DoNotOptimize(text::characterCount(message.text));
}
BENCHMARK(charactersOfEveryMessage)->Unit(benchmark::kMillisecond);

// The same with a character beyond ASCII in front, which asks ICU.
void foreignCharactersOfEveryMessage(benchmark::State& state) {
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages)
      benchmark::DoNotOptimize(text::characterCount("\u00E9" + message.text));
}
BENCHMARK(foreignCharactersOfEveryMessage)->Unit(benchmark::kMillisecond);

void greetingOfEveryMessage(benchmark::State& state) {
  for (auto _ : state)
    for (const HistoryMessage& message : window().messages)
      benchmark::DoNotOptimize(BirthdayFinder::holdsGreeting(message.text));
}
BENCHMARK(greetingOfEveryMessage)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace pellora
