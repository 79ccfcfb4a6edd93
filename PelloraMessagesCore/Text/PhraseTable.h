// A fixed list of phrases that is looked for in very many texts: one pass over the text instead of one a phrase.
// Gives exactly what searching for the phrases one after the other gives. Built once; immutable, any thread.
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

  // The place in the list of the first phrase that stands in the text anywhere.
  std::optional<std::size_t> firstIn(std::string_view text) const;

  // Whether any phrase stands at the beginning of a word: what the regular expression "\b" and the phrase finds.
  bool anyBeginsWord(std::string_view text) const;

 private:
  std::span<const std::string_view> _phrases;
  std::array<std::vector<std::size_t>, 256> _byFirstByte;  // places in the list, ascending
};

}  // namespace pellora
