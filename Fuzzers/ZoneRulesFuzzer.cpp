// Any bytes make the rules of a zone or none, as a zone file and as a POSIX rule. Stretches contain the instant they
// were asked for, follow each other without a gap, and their offsets are ones a calendar can count with.
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "PelloraMessagesCore/Time/PosixZoneRule.h"
#include "PelloraMessagesCore/Time/ZoneFile.h"
#include "PelloraMessagesCore/Time/ZoneRules.h"

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

using pellora::ZoneRules;
using pellora::ZoneStretch;

ZoneStretch checkedStretch(const ZoneRules& rules, std::int64_t seconds) {
  const ZoneStretch result = rules.stretch(seconds);
  // The last second of all has no end after it.
  if (!result.contains(seconds) && !(seconds == kLargest && result.end == kLargest)) std::abort();
  if (result.offset < pellora::kWesternmostOffset || result.offset > pellora::kEasternmostOffset) std::abort();
  return result;
}

void check(const ZoneRules& rules) {
  constexpr int kSteps = 200;
  for (const std::int64_t start : {std::numeric_limits<std::int64_t>::min(), std::int64_t{-62'135'596'800},
                                   std::int64_t{0}, std::int64_t{1'800'000'000}, std::int64_t{4'102'444'800},
                                   std::int64_t{253'402'300'799}, std::numeric_limits<std::int64_t>::max()}) {
    std::int64_t seconds = start;
    for (int step = 0; step < kSteps; ++step) {
      const ZoneStretch here = checkedStretch(rules, seconds);
      if (here.end == kLargest) break;
      if (checkedStretch(rules, here.end).begin != here.end) std::abort();
      if (checkedStretch(rules, here.end - 1).offset != here.offset) std::abort();
      seconds = here.end;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (const auto rules = pellora::ZoneFile::read(bytes)) check(*rules);
  if (const auto rule = pellora::PosixZoneRule::parse(bytes)) check(ZoneRules(0, {}, rule));
  return 0;
}
