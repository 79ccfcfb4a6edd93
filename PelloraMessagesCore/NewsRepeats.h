// Whether two pieces of news say the same thing, so that a person's weeks do not list one event twice. Pure.
// Tested by Tests/Core/NewsRepeatsTests.cpp.
#pragma once

#include <string_view>

#include "PelloraMessagesCore/MessagesNews.h"

namespace pellora {

namespace NewsRepeats {

// Of one kind, and after the name that each begins with the content words of one stand in the other. Sentences without
// content words are the same when they are equal, whatever their case. The name is `firstName`; the first word of a
// sentence that does not begin with it.
bool saysTheSame(const MessagesNews& left, const MessagesNews& right, std::string_view firstName);

}  // namespace NewsRepeats

}  // namespace pellora
