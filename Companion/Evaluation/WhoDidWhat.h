// Who does something according to a sentence about a day. A sentence that tells a person's news as the user's, or as
// that of both, is worse than none, and no guard can notice it. Read off by simple rules of English word order: the
// last one named before the words that tell it, as a subject or an owner. Pure.
// Tested by Tests/Companion/EvaluationTests.cpp.
#pragma once

#include <string_view>

namespace pellora {

enum class Doer {
  nobody,  // the sentence does not tell it, or not of whom
  user,
  person,
  both
};

// `sentence` begins with "You and NAME"; `deed` is what happened, as a sentence of its own.
Doer doerOf(std::string_view sentence, std::string_view deed, std::string_view name);

}  // namespace pellora
