// Links in any text lie inside it, in order, and their addresses are plain ASCII.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "PelloraMessagesCore/Text/LinkDetector.h"
#include "PelloraMessagesCore/Text/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const pellora::LinkDetector detector;
  const std::string text = pellora::text::repairedUtf8({reinterpret_cast<const char*>(data), size});
  const auto links = detector.links(text);
  std::size_t end = 0;
  for (const auto& link : links) {
    if (link.begin < end || link.end <= link.begin || link.end > text.size()) std::abort();
    if (link.scheme.empty() || link.absoluteUrl.empty() || !pellora::text::isAscii(link.absoluteUrl)) std::abort();
    end = link.end;
  }
  if (detector.containsLink(text) != !links.empty()) std::abort();
  return 0;
}
