// Lately records in words: the overview of all and one person's page for a terminal, and the sentences that these and
// the page for a browser have in common.
// Tested by Tests/Companion/LatelyCommandTests.cpp.
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

// "Anna's birthday, 30 years old" or the child's name in its place.
std::string birthdayText(const MessagesBirthday& birthday, const std::string& title);

// That the record is older than one shown before, or that its messages are gone, and what that means; empty when there
// is nothing to warn of.
std::string warning(const NamedLately& lately, const CompanionContext& context);

// "Anna began on 21 Nov." or "You began on 21 Nov."; empty when the notes do not tell.
std::string whoBegan(const NamedLately& lately, const CompanionContext& context);

}  // namespace pellora::lately_text
