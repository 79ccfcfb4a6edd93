// People out of vCards of versions 2.1, 3.0 and 4.0 as the common address books write them: several cards in a
// file, cards inside cards, cards without an end, pictures of any size. Groups and organisations are skipped.
// Total, linear, without recursion. Tested by Tests/Companion/VCardPeopleTests.cpp.
#pragma once

#include <string_view>

#include "Companion/People/ImportedPeople.h"

namespace pellora {

// Whether a line opens a card.
bool containsVCard(std::string_view text);

// `text` is UTF-8 or, where a card declares it, another charset.
ImportedPeople parseVCardPeople(std::string_view text);

}  // namespace pellora
