// The cost of the guards' tests over a month of much texting: every message goes through the cue test and the event
// test, every day through the birthday finder. The floor is one lower-casing of every message.
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "PelloraMessagesCore/BirthdayFinder.h"
#include "PelloraMessagesCore/MeetupGuard.h"
#include "PelloraMessagesCore/NewsGuard.h"
#include "PelloraMessagesCore/Text/Text.h"

namespace pellora {
namespace {

constexpr std::size_t kMessages = 50'000;
constexpr std::size_t kMessagesADay = 25;

const std::vector<std::vector<MessageLine>>& days() {
  static const std::vector<std::vector<MessageLine>> all = [] {
    const std::vector<std::string> texts = {
        "ok",
        "On my way, see you in ten minutes \U0001F600",
        "Did you see the game last night? What a finish, I couldn\u2019t believe it",
        "Thanks for dinner yesterday, it was so good to see you!",
        "We\u2019re thinking about moving next year, the house is getting small",
        "Happy birthday Maya!! \U0001F382",
        "Great catching up with you over coffee",
        "Can you send me the address of that restaurant again please",
        "haha yes",
        "Lange nicht gesehen, wie geht\u2019s? Sch\u00F6ne Gr\u00FC\u00DFe an alle",
        "I got the job at the bakery!! Starting in two weeks, they called me this morning and I said yes right away",
        "lol no idea, ask him tomorrow"};
    std::mt19937 random(5);
    std::vector<std::vector<MessageLine>> result(kMessages / kMessagesADay);
    for (std::vector<MessageLine>& day : result)
      for (std::size_t i = 0; i < kMessagesADay; ++i)
        day.push_back({random() % 2 == 0, texts[random() % texts.size()] + " " + std::to_string(random() % 1000)});
    return result;
  }();
  return all;
}

void lowerCasing(benchmark::State& state) {
  for (auto _ : state)
    for (const auto& day : days())
      for (const MessageLine& line : day) benchmark::DoNotOptimize(text::lowercased(line.text));
}

void cueTests(benchmark::State& state) {
  for (auto _ : state)
    for (const auto& day : days())
      for (const MessageLine& line : day) benchmark::DoNotOptimize(MeetupGuard::cueIn(line.text));
}

void eventTests(benchmark::State& state) {
  for (auto _ : state)
    for (const auto& day : days())
      for (const MessageLine& line : day) benchmark::DoNotOptimize(NewsGuard::hasEvent(line.text));
}

void birthdayFinds(benchmark::State& state) {
  const LocalCalendar calendar = LocalCalendar::inTimeZone("Europe/Berlin");
  for (auto _ : state)
    for (const auto& day : days())
      benchmark::DoNotOptimize(BirthdayFinder::find(day, "Sam", instantAtSeconds(1'740'821'400), calendar));
}

BENCHMARK(lowerCasing)->Unit(benchmark::kMillisecond)->Name("Guards/FloorLowerCasing50000");
BENCHMARK(cueTests)->Unit(benchmark::kMillisecond)->Name("Guards/CueTests50000");
BENCHMARK(eventTests)->Unit(benchmark::kMillisecond)->Name("Guards/EventTests50000");
BENCHMARK(birthdayFinds)->Unit(benchmark::kMillisecond)->Name("Guards/BirthdayFinds50000");

}  // namespace
}  // namespace pellora
