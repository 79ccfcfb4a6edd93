// A fixed list of phrases to be found in very many texts: one pass over a text instead of one per phrase.
// Finds exactly what searching for the phrases one by one would find. Built once; immutable, any thread.
// Tested by Tests/Core/PhraseTableTests.cpp.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace pellora {

class PhraseTable {
 public:
  // The phrases are neither empty nor copied: they must outlive the table. For `anyBeginsWord` they begin with an
  // ASCII letter.
  explicit PhraseTable(std::span<const std::string_view> phrases);

  // The index of the first phrase of the list that occurs anywhere in the text.
  std::optional<std::size_t> firstIn(std::string_view text) const;

  // Whether any phrase begins a word: the same as a match of the regular expression "\b" followed by the phrase.
  bool anyBeginsWord(std::string_view text) const;

 private:
  std::span<const std::string_view> _phrases;
  std::array<std::vector<std::size_t>, 256> _byFirstByte;  // indexes into the list, ascending
};

}  // namespace pellora
