#include "PelloraMessagesCore/Time/BuiltInZones.h"

#include <unicode/basictz.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>

namespace pellora::BuiltInZones {

namespace {

constexpr double kMilliseconds = 1'000;

ZoneStretch stretch(const icu::BasicTimeZone& zone, std::int64_t seconds) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t raw = 0;
  std::int32_t daylight = 0;
  const UDate date = static_cast<double>(seconds) * kMilliseconds;
  zone.getOffset(date, false, raw, daylight, status);
  ZoneStretch result;
  result.offset = (raw + daylight) / 1'000;
  icu::TimeZoneTransition transition;
  if (zone.getPreviousTransition(date, true, transition))
    result.begin = std::min(seconds, static_cast<std::int64_t>(transition.getTime() / kMilliseconds));
  if (zone.getNextTransition(date, false, transition))
    result.end = std::max(seconds + 1, static_cast<std::int64_t>(transition.getTime() / kMilliseconds));
  return result;
}

}  // namespace

ZoneFinder named(std::string_view name) {
  const icu::UnicodeString identifier =
      icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<std::int32_t>(name.size())));
  const std::shared_ptr<icu::TimeZone> found(icu::TimeZone::createTimeZone(identifier));
  if (!found || *found == icu::TimeZone::getUnknown()) return {};
  const auto zone = std::dynamic_pointer_cast<const icu::BasicTimeZone>(found);
  if (!zone) return {};
  return [zone](std::int64_t seconds) { return stretch(*zone, seconds); };
}

}  // namespace pellora::BuiltInZones
