// A DayStrip as a small inline SVG: sent above the line, received below.
#pragma once

#include <string>

#include "Companion/Lately/DayStrip.h"

namespace pellora {

std::string dayChart(const DayStrip& strip);

}  // namespace pellora
