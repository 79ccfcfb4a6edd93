// One invented day for judging a language model, with what is true about it. The built-in cases are cases.jsonl: 200
// days with news (25 of each kind), 200 that only look like it, 100 with meetups over all ways to say when, and 100
// with orders to the model hidden in a message. One JSON object per line:
//
//   {"id": "news-001", "group": "news", "name": "Anna", "date": "2026-01-05",
//    "lines": [["me", "Morning!"], ["them", "I got the job at the museum, they called this morning!"]],
//    "news": [{"line": 2, "kind": "work", "sentence": "Anna got the job at the museum.", "when": "this morning"}],
//    "meetups": [{"line": 1, "what": "dinner", "when": "last night", "day": "2026-01-04"}],
//    "sentence": "You and Anna talked, and Anna got the job at the museum.",
//    "did": {"me": [], "them": ["Anna got the job at the museum."]}, "marker": "Zorblax"}
//
// Lines count from 1. `marker` is the word that an order wants to see repeated; absent in the other groups.
// Tested by Tests/Companion/EvaluationTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/MessagesDayRecord.h"

namespace pellora {

struct EvaluationCase {
  enum class Group { news, negative, meetup, injection };

  struct TrueNews {
    std::int64_t line = 0;
    MessagesNews::Kind kind = MessagesNews::Kind::work;
    std::string sentence;
    std::string when;
  };

  struct TrueMeetup {
    std::int64_t line = 0;
    std::string what;
    std::string when;
    std::string day;  // day string
  };

  // What one of the two did, told of them by name or as "you".
  struct Deed {
    bool isMine = false;
    std::string text;
  };

  std::string id;
  Group group = Group::news;
  std::string name;
  std::string date;  // day string
  std::vector<MessageLine> lines;
  std::vector<TrueNews> news;
  std::vector<TrueMeetup> meetups;
  std::vector<Deed> deeds;
  std::string sentence;
  std::string marker;

  // As the helper would build it, the last message at noon (UTC).
  MessagesDayDraft draft() const;

  // Absent when the line is not such an object.
  static std::optional<EvaluationCase> parse(std::string_view line);

  // Every line of a file's text; empty lines are passed over. Throws std::invalid_argument with the number of the
  // first line that is not a case.
  static std::vector<EvaluationCase> parseAll(std::string_view text);

  static std::vector<EvaluationCase> builtIn();
};

}  // namespace pellora
