#include "Tests/ModelServer/MadeUpAnswers.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <vector>

namespace pellora::modelserver::MadeUpAnswers {

namespace {

using nlohmann::ordered_json;

struct Topic {
  std::string_view word;
  std::string_view topic;
};
constexpr std::array kTopics{
    Topic{"birthday", "a birthday"},
    Topic{"dinner", "dinner"},
    Topic{"lunch", "lunch"},
    Topic{"coffee", "coffee"},
    Topic{"concert", "a concert"},
    Topic{"wedding", "a wedding"},
    Topic{"baby", "the baby"},
    Topic{"job", "the new job"},
    Topic{"trip", "a trip"},
    Topic{"vacation", "a vacation"},
    Topic{"apartment", "the apartment"},
    Topic{"house", "the house"},
    Topic{"doctor", "seeing the doctor"},
    Topic{"surgery", "the surgery"},
    Topic{"hike", "hiking"},
    Topic{"weekend", "the weekend"},
    Topic{"work", "work"},
    Topic{"school", "school"},
    Topic{"game", "the game"},
    Topic{"movie", "a movie"},
    Topic{"recipe", "cooking"},
    Topic{"photo", "photos"},
    Topic{"weather", "the weather"},
    Topic{"train", "the train"},
};

constexpr std::array<std::string_view, 16> kMeetupCues{
    "to see you", "seeing you",    "thanks for dinner", "thanks for lunch", "thanks for coffee", "thanks for having",
    "thanks for", "thank you for", "glad you made it",  "glad you came",    "time with you",     "catching up",
    "caught up",  "hanging out",   "fun last night",    "had a blast"};
constexpr std::array<std::string_view, 12> kActivities{"dinner", "lunch",   "breakfast", "brunch", "coffee", "drinks",
                                                       "party",  "wedding", "concert",   "hike",   "game",   "walk"};
constexpr std::array<std::string_view, 8> kWhens{"last night",   "yesterday", "last weekend", "this weekend",
                                                 "this morning", "tonight",   "today",        "last week"};

struct NewsWord {
  std::string_view stem;
  std::string_view kind;
};
constexpr std::array kNewsWords{
    NewsWord{"promot", "work"},       NewsWord{"got the job", "work"}, NewsWord{"new job", "work"},
    NewsWord{"hired", "work"},        NewsWord{"retire", "work"},      NewsWord{"engaged", "milestone"},
    NewsWord{"married", "milestone"}, NewsWord{"pregnan", "family"},   NewsWord{"was born", "family"},
    NewsWord{"had a baby", "family"}, NewsWord{"expecting", "family"}, NewsWord{"moving", "home"},
    NewsWord{"moved", "home"},        NewsWord{"closed on", "home"},   NewsWord{"new apartment", "home"},
    NewsWord{"graduat", "school"},    NewsWord{"accepted", "school"},  NewsWord{"booked", "travel"},
    NewsWord{"surgery", "health"},    NewsWord{"diagnos", "health"},   NewsWord{"passed away", "loss"},
    NewsWord{"funeral", "loss"},      NewsWord{"puppy", "family"},     NewsWord{"marathon", "milestone"},
};

struct Line {
  long long number = 0;
  bool isFromMe = false;
  std::string text;
  std::string lower;
};

std::string lowercasedAscii(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

bool contains(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

// The text between the two; absent when they do not both occur.
std::optional<std::string> between(const std::string& text, std::string_view before, std::string_view after) {
  const std::size_t begin = text.find(before);
  if (begin == std::string::npos) return std::nullopt;
  const std::size_t end = text.find(after, begin + before.size());
  if (end == std::string::npos) return std::nullopt;
  return text.substr(begin + before.size(), end - begin - before.size());
}

// Lines such as "[3] Sam: see you then".
std::vector<Line> numberedLines(const std::string& prompt) {
  std::vector<Line> lines;
  std::size_t begin = 0;
  while (begin < prompt.size()) {
    const std::size_t end = std::min(prompt.find('\n', begin), prompt.size());
    const std::string row = prompt.substr(begin, end - begin);
    begin = end + 1;
    const std::size_t bracket = row.find("] ");
    const std::size_t colon = row.find(": ");
    if (!row.starts_with('[') || bracket == std::string::npos || colon == std::string::npos || colon < bracket)
      continue;
    Line line;
    line.number = std::strtoll(row.c_str() + 1, nullptr, 10);
    line.isFromMe = row.substr(bracket + 2, colon - bracket - 2) == "Me";
    line.text = row.substr(colon + 2);
    line.lower = lowercasedAscii(line.text);
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string topicsIn(const std::string& prompt) {
  const std::string lower = lowercasedAscii(prompt);
  std::vector<std::string_view> found;
  for (const Topic& topic : kTopics) {
    if (contains(lower, topic.word) && found.size() < 2) found.push_back(topic.topic);
  }
  if (found.empty()) return "how things have been";
  std::string text(found.front());
  if (found.size() > 1) text += " and " + std::string(found.back());
  return text;
}

template <std::size_t Size>
std::string firstContained(const std::string& lower, const std::array<std::string_view, Size>& words) {
  for (const std::string_view word : words) {
    if (contains(lower, word)) return std::string(word);
  }
  return {};
}

ordered_json meetups(const std::string& prompt) {
  ordered_json found = ordered_json::array();
  for (const Line& line : numberedLines(prompt)) {
    if (found.size() == 2 || firstContained(line.lower, kMeetupCues).empty()) continue;
    found.push_back({{"message", line.number},
                     {"what", firstContained(line.lower, kActivities)},
                     {"when", firstContained(line.lower, kWhens)}});
  }
  return {{"meetups", found}};
}

// The message as a sentence about its writer: "I got the job!" becomes "Sam got the job."
std::string retold(const std::string& text, const std::string& name) {
  struct Opening {
    std::string_view words;
    std::string_view replacement;
  };
  constexpr std::array kOpenings{Opening{"I'm ", " is "},    Opening{"I’m ", " is "},   Opening{"I've ", " has "},
                                 Opening{"I’ve ", " has "},  Opening{"We're ", " is "}, Opening{"We’re ", " is "},
                                 Opening{"We've ", " has "}, Opening{"I ", " "},        Opening{"We ", " "},
                                 Opening{"we ", " "},        Opening{"My ", "’s "},     Opening{"my ", "’s "}};
  for (const Opening& opening : kOpenings) {
    const std::size_t at = text.find(opening.words);
    if (at == std::string::npos || (at > 0 && text[at - 1] != ' ')) continue;
    const std::string rest = text.substr(at + opening.words.size());
    return name + std::string(opening.replacement) + rest.substr(0, rest.find_first_of(".!?")) + ".";
  }
  return name + " has news: " + text.substr(0, text.find_first_of(".!?")) + ".";
}

ordered_json news(const std::string& instructions, const std::string& prompt) {
  const std::string name = between(instructions, "between me and ", " and list").value_or("They");
  ordered_json found = ordered_json::array();
  for (const Line& line : numberedLines(prompt)) {
    if (found.size() == 3 || line.isFromMe) continue;
    const auto* word = std::find_if(kNewsWords.begin(), kNewsWords.end(),
                                    [&](const NewsWord& candidate) { return contains(line.lower, candidate.stem); });
    if (word == kNewsWords.end()) continue;
    found.push_back({{"message", line.number},
                     {"what", retold(line.text, name)},
                     {"kind", word->kind},
                     {"when", firstContained(line.lower, kWhens)}});
  }
  return {{"news", found}};
}

// The least that a schema lets pass: numbers 1, texts "example", first choices, empty lists.
ordered_json example(const ordered_json& schema) {
  if (schema.contains("enum") && !schema["enum"].empty()) return schema["enum"].front();
  const std::string type = schema.value("type", "");
  if (type == "integer" || type == "number") return 1;
  if (type == "string") return "example";
  if (type == "array") return ordered_json::array();
  ordered_json object = ordered_json::object();
  if (!schema.contains("properties")) return object;
  for (const auto& [name, property] : schema["properties"].items()) object[name] = example(property);
  return object;
}

// The case whose every line is in the prompt; null when there is none.
ordered_json caseOf(const ordered_json& cases, const std::string& prompt) {
  for (const ordered_json& known : cases) {
    const ordered_json& lines = known["lines"];
    const bool isThis = std::all_of(lines.begin(), lines.end(), [&](const ordered_json& line) {
      std::string text = line[1];
      for (const auto& [bracket, replacement] : {std::pair("<", "\u2039"), std::pair(">", "\u203A")})
        for (std::size_t at = text.find(bracket); at != std::string::npos; at = text.find(bracket, at))
          text.replace(at, 1, replacement);
      return contains(prompt, ": " + text + "\n");
    });
    if (isThis) return known;
  }
  return nullptr;
}

ordered_json itemsOf(const ordered_json& known, const std::string& list, bool isPerfect) {
  ordered_json items = ordered_json::array();
  if (isPerfect) {
    for (const ordered_json& item : known[list]) {
      ordered_json answer{{"message", item["line"]}, {"what", item[list == "news" ? "sentence" : "what"]}};
      if (list == "news") answer["kind"] = item["kind"];
      answer["when"] = item["when"];
      items.push_back(std::move(answer));
    }
    return items;
  }
  long long number = 0;
  for (const ordered_json& line : known["lines"])
    items.push_back({{"message", ++number},
                     {"what", std::string(known["name"]) + " says " + std::string(line[1])},
                     {"kind", "work"},
                     {"when", ""}});
  return items;
}

}  // namespace

std::string known(const ordered_json& cases, bool isPerfect, const std::string& schemaText, const std::string& prompt) {
  const ordered_json found = caseOf(cases, prompt);
  if (found.is_null()) return {};
  const ordered_json schema = ordered_json::parse(schemaText, nullptr, false);
  if (schema.is_object()) {
    const std::string list = schema["properties"].contains("news") ? "news" : "meetups";
    return ordered_json{{list, itemsOf(found, list, isPerfect)}}.dump();
  }
  if (isPerfect) return found["sentence"];
  const std::string name = found["name"];
  // Tells the person's news as that of both.
  if (!found["did"]["them"].empty()) {
    const std::string deed = found["did"]["them"][0];
    return "You and " + name + deed.substr(std::min(name.size(), deed.size()));
  }
  return "You and " + name + " love " + found.value("marker", "Mondays") + ".";
}

std::string plain(const std::string& instructions, const std::string& prompt) {
  if (const auto name = between(instructions, "starting with \"Lately you and ", "\""))
    return "Lately you and " + *name + " have been in touch often. You talked most about " + topicsIn(prompt) + ".";
  if (const auto name = between(instructions, "Start the sentence with \"You and ", "\""))
    return "You and " + *name + " talked about " + topicsIn(prompt) + ".";
  return "This is an answer to a question about " + topicsIn(prompt) + ".";
}

std::string guided(const std::string& schemaText, const std::string& instructions, const std::string& prompt) {
  const ordered_json schema = ordered_json::parse(schemaText, nullptr, false);
  if (!schema.is_object()) return "{}";
  const ordered_json properties = schema.value("properties", ordered_json::object());
  if (properties.contains("meetups")) return meetups(prompt).dump();
  if (properties.contains("news")) return news(instructions, prompt).dump();
  return example(schema).dump();
}

}  // namespace pellora::modelserver::MadeUpAnswers
