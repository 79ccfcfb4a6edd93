// Whether two pieces of news say the same thing, so that a person's weeks do not list one event twice. Pure.
// Tested by Tests/Core/NewsRepeatsTests.cpp.
#pragma once

#include "PelloraMessagesCore/MessagesNews.h"

namespace pellora {

namespace NewsRepeats {

// Of one kind, and after the name that both begin with the content words of one stand in the other. Sentences without
// content words are the same when they are equal, whatever their case.
bool saysTheSame(const MessagesNews& left, const MessagesNews& right);

}  // namespace NewsRepeats

}  // namespace pellora
