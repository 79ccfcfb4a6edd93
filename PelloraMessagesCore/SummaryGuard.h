// Checks that a language model's sentences pass before they are kept, and two tests on texts that the other guards
// share. Pure. Tested by Tests/Core/SummaryGuardTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pellora {

namespace SummaryGuard {

// The day sentence to keep, or nothing. `firstName` is the name that the sentence must open with.
std::optional<std::string> checkSentence(std::string_view answer, std::string_view firstName);

// The lately summary to keep (two sentences at most), or nothing.
std::optional<std::string> checkLately(std::string_view answer, std::string_view firstName);

// Whether anything in the text could be a web or mail address, in disguise ("evil\u3002com") or not; deliberately
// broad.
bool looksLikeLink(std::string_view text);

// Whether the text speaks of "the user".
bool mentionsUser(std::string_view text);

// Whether the text tries to give a language model orders.
bool looksLikeInstruction(std::string_view text);

// Up to the first ".", "!" or "?" that ends the text or is followed by a space; all of it without one. The full stop of
// an abbreviation or an initial does not count unless it ends the text.
std::string firstSentence(std::string_view text);

}  // namespace SummaryGuard

}  // namespace pellora
