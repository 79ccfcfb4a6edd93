#include "Companion/Lately/DayChart.h"

#include <cmath>

#include "Companion/Output/DateText.h"

namespace pellora {

namespace {

constexpr int kBarWidth = 14;
constexpr int kBarGap = 6;
constexpr int kHalf = 44;  // height of the longest bar
constexpr int kLegend = 18;

std::string rect(int x, int y, int height, const char* role, const std::string& title) {
  return "<rect class=\"" + std::string(role) + "\" x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) +
         "\" width=\"" + std::to_string(kBarWidth) + "\" height=\"" + std::to_string(height) + "\" rx=\"2\"><title>" +
         title + "</title></rect>";
}

int heightOf(std::int64_t count, std::int64_t largest) {
  if (count <= 0 || largest <= 0) return 0;
  return static_cast<int>(std::ceil(kHalf * (static_cast<double>(count) / static_cast<double>(largest))));
}

std::string label(int x, int y, const char* anchor, const std::string& text) {
  return "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" text-anchor=\"" + anchor + "\">" +
         text + "</text>";
}

}  // namespace

std::string dayChart(const DayStrip& strip) {
  const int width = static_cast<int>(strip.days.size()) * (kBarWidth + kBarGap);
  const int height = 2 * kHalf + 2 + kLegend;
  const std::int64_t largest = strip.largest();
  std::string svg = "<svg viewBox=\"0 0 " + std::to_string(width) + " " + std::to_string(height) +
                    "\" role=\"img\" aria-label=\"Texts sent and received per day\">";
  svg += "<line x1=\"0\" x2=\"" + std::to_string(width) + "\" y1=\"" + std::to_string(kHalf) + "\" y2=\"" +
         std::to_string(kHalf) + "\"/>";
  int x = kBarGap / 2;
  for (const DayStrip::Day& day : strip.days) {
    const std::string date = date_text::shortDate(day.date);
    const int sent = heightOf(day.sent, largest);
    const int received = heightOf(day.received, largest);
    if (sent > 0) svg += rect(x, kHalf - sent, sent, "sent", date + ": " + std::to_string(day.sent) + " sent");
    if (received > 0)
      svg += rect(x, kHalf + 1, received, "received", date + ": " + std::to_string(day.received) + " received");
    x += kBarWidth + kBarGap;
  }
  if (!strip.days.empty()) svg += label(0, height - 4, "start", date_text::shortDate(strip.days.front().date));
  return svg + label(width, height - 4, "end", "today") + "</svg>";
}

}  // namespace pellora
