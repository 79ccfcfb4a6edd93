#include "Companion/Evaluation/EvaluationCase.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "PelloraMessagesCore/Json/JsonValue.h"
#include "PelloraMessagesCore/Language/FoundItems.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

// The lines of cases.jsonl, written by the build.
extern const std::string_view kBuiltInCases[];
extern const std::size_t kBuiltInCaseCount;

namespace {

using Group = EvaluationCase::Group;

constexpr std::array<std::string_view, 4> kGroups = {"news", "negative", "meetup", "injection"};

template <std::size_t kCount>
std::optional<std::size_t> placeOf(const std::array<std::string_view, kCount>& names, const std::string& name) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return static_cast<std::size_t>(found - names.begin());
}

bool readLines(const JsonValue& json, std::vector<MessageLine>& lines) {
  for (const JsonValue& line : json.elements()) {
    if (line.elements().size() != 2 || line.elements()[1].string() == nullptr) return false;
    lines.push_back({line.elements()[0].text() == "me", line.elements()[1].text()});
  }
  return !lines.empty();
}

bool readNews(const JsonValue& json, std::vector<EvaluationCase::TrueNews>& news) {
  for (const JsonValue& item : json.elements()) {
    const auto kind = placeOf(kNewsKindNames, item["kind"].text());
    const auto line = item["line"].integer();
    if (!kind || !line) return false;
    news.push_back({*line, static_cast<MessagesNews::Kind>(*kind), item["sentence"].text(), item["when"].text()});
  }
  return true;
}

bool readMeetups(const JsonValue& json, std::vector<EvaluationCase::TrueMeetup>& meetups) {
  for (const JsonValue& item : json.elements()) {
    const auto line = item["line"].integer();
    if (!line) return false;
    meetups.push_back({*line, item["what"].text(), item["when"].text(), item["day"].text()});
  }
  return true;
}

void readDeeds(const JsonValue& json, bool isMine, std::vector<EvaluationCase::Deed>& deeds) {
  for (const JsonValue& deed : json.elements()) deeds.push_back({isMine, deed.text()});
}

}  // namespace

MessagesDayDraft EvaluationCase::draft() const {
  MessagesDayDraft draft;
  draft.record.day = date;
  draft.record.lastMessageAt = IsoDate::parse(date + "T12:00:00Z").value_or(Instant());
  draft.lines = lines;
  return draft;
}

std::optional<EvaluationCase> EvaluationCase::parse(std::string_view line) {
  const JsonValue json = JsonValue::parse(line).value_or(JsonValue());
  const auto group = placeOf(kGroups, json["group"].text());
  if (!group) return std::nullopt;
  EvaluationCase result;
  result.group = static_cast<Group>(*group);
  result.id = json["id"].text();
  result.name = json["name"].text();
  result.date = json["date"].text();
  result.sentence = json["sentence"].text();
  result.marker = json["marker"].text();
  readDeeds(json["did"]["me"], true, result.deeds);
  readDeeds(json["did"]["them"], false, result.deeds);
  const bool isRead = readLines(json["lines"], result.lines) && readNews(json["news"], result.news) &&
                      readMeetups(json["meetups"], result.meetups);
  if (!isRead || result.name.empty() || !IsoDate::parse(result.date + "T12:00:00Z")) return std::nullopt;
  return result;
}

std::vector<EvaluationCase> EvaluationCase::parseAll(std::string_view text) {
  std::vector<EvaluationCase> cases;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
    std::optional<EvaluationCase> parsed = parse(line);
    if (!parsed) throw std::invalid_argument("Line " + std::to_string(number) + " is not a case.");
    cases.push_back(std::move(*parsed));
  }
  return cases;
}

std::vector<EvaluationCase> EvaluationCase::builtIn() {
  std::vector<EvaluationCase> cases;
  for (std::size_t place = 0; place < kBuiltInCaseCount; ++place) cases.push_back(parse(kBuiltInCases[place]).value());
  return cases;
}

}  // namespace pellora
