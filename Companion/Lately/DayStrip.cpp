#include "Companion/Lately/DayStrip.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_map>

#include "Companion/Output/DisplayText.h"

namespace pellora {

namespace {

constexpr std::string_view kBars[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::string_view kNothing = "·";
constexpr std::size_t kLabelWidth = 10;

std::string_view bar(std::int64_t count, std::int64_t largest) {
  if (count <= 0 || largest <= 0) return kNothing;
  const auto steps = static_cast<std::int64_t>(std::size(kBars));
  // In floating point: counts from a file may be as large as they like.
  const double share = static_cast<double>(count) / static_cast<double>(largest);
  const auto step = static_cast<std::int64_t>(share * static_cast<double>(steps) + 0.999) - 1;
  return kBars[static_cast<std::size_t>(std::clamp<std::int64_t>(step, 0, steps - 1))];
}

// Of the picture, in its own units.
constexpr int kBarWidth = 14;
constexpr int kBarGap = 6;
constexpr int kHalf = 44;  // height of the tallest bar

std::string rect(int x, int y, int height, const char* role, const std::string& title) {
  return "<rect class=\"" + std::string(role) + "\" x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) +
         "\" width=\"" + std::to_string(kBarWidth) + "\" height=\"" + std::to_string(height) + "\" rx=\"2\"><title>" +
         title + "</title></rect>";
}

int heightOf(std::int64_t count, std::int64_t largest) {
  if (count <= 0 || largest <= 0) return 0;
  return static_cast<int>(std::ceil(kHalf * (static_cast<double>(count) / static_cast<double>(largest))));
}

}  // namespace

DayStrip DayStrip::of(const Uuid& person, const HelperDayNotes& notes, Instant now, const LocalCalendar& calendar) {
  std::unordered_map<std::string, const MessagesDayRecord*> records;
  for (const MessagesDayRecord& record : notes.days)
    if (record.personID == person) records.emplace(record.day, &record);
  DayStrip strip;
  for (std::size_t back = kDays; back-- > 0;) {
    const Instant instant = calendar.addingDays(calendar.startOfDay(now), -static_cast<int>(back));
    Day day{calendar.date(instant), 0, 0};
    const auto record = records.find(calendar.dayString(instant));
    if (record != records.end()) {
      day.sent = std::max<std::int64_t>(record->second->sentCount, 0);
      day.received = std::max<std::int64_t>(record->second->receivedCount, 0);
    }
    strip.days.push_back(day);
  }
  return strip;
}

std::int64_t DayStrip::largest() const {
  std::int64_t largest = 0;
  for (const Day& day : days) largest = std::max({largest, day.sent, day.received});
  return largest;
}

std::string DayStrip::text(const OutputStyle& style) const {
  const std::size_t available = style.textWidth() > kLabelWidth + 1 ? style.textWidth() - kLabelWidth : 1;
  const std::size_t shown = std::min(available, days.size());
  const std::size_t first = days.size() - shown;
  const std::int64_t most = largest();
  std::string sent;
  std::string received;
  for (std::size_t index = first; index < days.size(); ++index) {
    sent += bar(days[index].sent, most);
    received += bar(days[index].received, most);
  }
  const std::string begin = date_text::shortDate(days[first].date);
  const std::string end = "today";
  const std::size_t used = display::width(begin) + end.size();
  std::string scale = used < shown ? begin + std::string(shown - used, ' ') + end : "";
  using Ink = OutputStyle::Ink;
  std::string text;
  if (!scale.empty()) text += std::string(kLabelWidth, ' ') + style.paint(Ink::dim, scale) + "\n";
  text += display::padded("Sent", kLabelWidth) + style.paint(Ink::green, sent) + "\n";
  text += display::padded("Received", kLabelWidth) + style.paint(Ink::blue, received) + "\n";
  return text;
}

std::string DayStrip::picture(const std::string& description) const {
  const int width = static_cast<int>(days.size()) * (kBarWidth + kBarGap);
  const int height = 2 * kHalf + 2;
  const std::int64_t most = largest();
  std::string svg = "<svg viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
                    "\" role=\"img\" aria-label=\"" + description + "\">";
  svg += "<line x1=\"0\" x2=\"" + std::to_string(width) + "\" y1=\"" + std::to_string(kHalf) + "\" y2=\"" +
         std::to_string(kHalf) + "\"/>";
  int x = kBarGap / 2;
  for (const Day& day : days) {
    const std::string date = date_text::shortDate(day.date);
    const int sent = heightOf(day.sent, most);
    const int received = heightOf(day.received, most);
    if (sent > 0) svg += rect(x, kHalf - sent, sent, "sent", date + ": " + std::to_string(day.sent) + " sent");
    if (received > 0)
      svg += rect(x, kHalf + 1, received, "received", date + ": " + std::to_string(day.received) + " received");
    x += kBarWidth + kBarGap;
  }
  return svg + "</svg>";
}

}  // namespace pellora
