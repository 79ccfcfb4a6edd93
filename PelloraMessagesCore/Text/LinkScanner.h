// One pass over one text in search of links, front to back: every byte is looked at a bounded number of times,
// whatever the text. Made for one text, which must outlive it. The rules:
// a link begins with a scheme and "://", "mailto:", "tel:", "www." or a host name whose top-level domain exists, or
// it is a mail address; it ends before white space, quotes, emoji, a bracket without its partner inside the link,
// and punctuation that ends a sentence. Tested by Tests/Core/LinkDetectorTests.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PelloraMessagesCore/Text/LinkDetector.h"

namespace pellora {

class LinkScanner {
 public:
  explicit LinkScanner(std::string_view text) : _text(text) {}

  // A quick look: false only for a text that holds no link.
  static bool mayHoldLink(std::string_view text);

  // The next link, absent at the end of the text.
  std::optional<LinkDetector::Link> next();

 private:
  using Link = LinkDetector::Link;

  // A host name found: where it ends in the text, and how it is written in an address.
  struct Host {
    std::size_t end = 0;
    std::string ascii;
    bool isComplete = false;  // nothing of the word was cut off, so a port or a path may follow
  };

  std::optional<Link> linkAtWord(std::size_t begin, std::size_t end);
  std::optional<Link> schemeLink(std::size_t colon);
  std::optional<Link> mailtoLink(std::size_t begin, std::size_t colon);
  std::optional<Link> telephoneLink(std::size_t begin, std::size_t colon);
  std::optional<Link> mailLink(std::size_t at);
  std::optional<Link> bareLink(std::size_t begin, std::size_t wordEnd);

  char byteAt(std::size_t position) const { return position < _text.size() ? _text[position] : '\0'; }
  bool standsAt(std::size_t position, std::string_view what) const {
    return position <= _text.size() && _text.substr(position).starts_with(what);
  }

  std::size_t schemeBegin(std::size_t colon) const;
  std::size_t afterUserInformation(std::size_t begin) const;
  std::size_t mailLocalBegin(std::size_t at) const;
  bool isMailLocalPart(std::size_t position) const;
  std::size_t portEnd(std::size_t begin) const;
  std::size_t tailEnd(std::size_t linkBegin, std::size_t begin);
  std::size_t trimmedTailEnd(std::size_t linkBegin, std::size_t begin, std::size_t end) const;
  std::size_t characterEnd(std::size_t linkBegin, std::size_t position);
  std::size_t wordEnd(std::size_t begin) const;
  std::optional<Host> host(std::size_t begin) const;
  std::optional<Host> addressInBrackets(std::size_t begin) const;
  std::string encoded(std::size_t begin, std::size_t end) const;
  std::uint32_t bracketPartner(std::size_t position);

  std::string_view _text;
  std::size_t _position = 0;
  std::size_t _lastLinkEnd = 0;
  std::vector<std::uint32_t> _partners;  // by position of a bracket; made when the first one is met
};

}  // namespace pellora
