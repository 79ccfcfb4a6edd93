// A regular expression, compiled once and used for the life of the process, with the default flags of the engine
// beneath (ICU). One matcher is reused, so an instance serves one thread at a time. A text that is searched for
// several expressions is converted once into a RegexText. A search that the engine gives up counts as no match.
// Tested by Tests/Core/RegexTests.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace pellora {

// A text in the form in which it is searched.
class RegexText {
 public:
  explicit RegexText(std::string_view text);
  ~RegexText();
  RegexText(const RegexText&) = delete;
  RegexText& operator=(const RegexText&) = delete;

 private:
  friend class Regex;
  struct Content;
  std::unique_ptr<Content> _content;
};

class Regex {
 public:
  // Throws std::invalid_argument when the pattern is not well formed.
  explicit Regex(std::string_view pattern);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  bool matches(std::string_view text) const;
  bool matches(const RegexText& text) const;

  // The text of capture group `group` (0: the whole match) in the first match, absent without a match or when the
  // group took no part in it.
  std::optional<std::string> firstMatch(std::string_view text, int group = 0) const;
  std::optional<std::string> firstMatch(const RegexText& text, int group = 0) const;

 private:
  struct Engine;
  std::unique_ptr<Engine> _engine;
};

}  // namespace pellora
