#include "PelloraMessagesCore/Text/LinkDetector.h"

#include <utility>

#include "PelloraMessagesCore/Text/LinkScanner.h"

namespace pellora {

std::vector<LinkDetector::Link> LinkDetector::links(std::string_view text) const {
  std::vector<Link> result;
  if (!LinkScanner::mayHoldLink(text)) return result;
  LinkScanner scanner(text);
  for (auto link = scanner.next(); link; link = scanner.next()) result.push_back(std::move(*link));
  return result;
}

bool LinkDetector::containsLink(std::string_view text) const {
  return LinkScanner::mayHoldLink(text) && LinkScanner(text).next().has_value();
}

}  // namespace pellora
