// Lately records for people at a terminal: the overview of all, and one person's page.
// Tested by Tests/Companion/LatelyTextTests.cpp.
#pragma once

#include <optional>
#include <string>

#include "Companion/CompanionContext.h"
#include "Companion/Lately/DayStrip.h"
#include "Companion/Lately/LatelyStore.h"

namespace pellora::lately_text {

std::string overview(const LatelyStore& store, const CompanionContext& context);

// Without a strip when it is absent.
std::string page(const NamedLately& lately, const std::optional<DayStrip>& strip, const CompanionContext& context);

// "Anna's birthday, 12 May, 30 years old" or the child's name in its place.
std::string birthdayText(const MessagesBirthday& birthday, const std::string& title);

}  // namespace pellora::lately_text
