// Finds web and mail addresses in free text, as a desktop's link detector would: schemes, "www." names and bare
// host names whose top-level domain exists. Pure; one instance may be kept for the life of the process and serves
// one thread at a time. Time and memory are bounded by the text's length.
// Tested by Tests/Core/LinkDetectorTests.cpp and LinkWordsTests.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pellora {

class LinkDetector {
 public:
  struct Link {
    std::size_t begin = 0;  // byte offsets of the link in the text
    std::size_t end = 0;
    std::string scheme;       // lower case: "http", "https", "mailto", or any other scheme written before "://"
    std::string absoluteUrl;  // whole address: scheme added where the text has none, host in punycode, non-ASCII
                              // bytes of path and query percent-encoded
  };

  // Every link in the text, in order, not overlapping.
  std::vector<Link> links(std::string_view text) const;

  // Whether there is any link at all, mail addresses included. Cheaper than `links`.
  bool containsLink(std::string_view text) const;
};

}  // namespace pellora
