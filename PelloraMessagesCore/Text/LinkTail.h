// Where path, query and fragment of a link end in a text: before white space, quotes, a bracket without its partner
// inside the link, and punctuation that ends a sentence; letters of every script belong to them, and so do symbols
// inside them. One object per text, which must outlive it; time is in proportion to the text's length.
// Tested by Tests/Core/LinkDetectorTests.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace pellora {

class LinkTail {
 public:
  explicit LinkTail(std::string_view text) : _text(text) {}

  // Behind what follows the host that ends at `begin`, which is returned when nothing does. `linkBegin` is where the
  // whole link begins.
  std::size_t endFrom(std::size_t begin, std::size_t linkBegin);

 private:
  std::size_t characterEnd(std::size_t linkBegin, std::size_t position);
  std::size_t asciiEnd(std::size_t linkBegin, std::size_t position) const;
  std::size_t foreignEnd(std::size_t position) const;
  std::size_t trimmedEnd(std::size_t linkBegin, std::size_t begin, std::size_t end) const;
  std::uint32_t bracketPartner(std::size_t position);

  std::string_view _text;
  std::vector<std::uint32_t> _partners;  // by position of a bracket; made when the first one is met
};

}  // namespace pellora
