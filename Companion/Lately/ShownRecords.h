// Remembers when the newest record of each person was written that a user has seen, so that an old file put back in its
// place is noticed. Sealed in "shown.json" in the companion's settings folder (context "companion-shown"):
// {"UUID": "2026-11-21T12:00:00Z", ...}. Losing it costs the warning, nothing else.
// Tested by Tests/Companion/ShownRecordsTests.cpp.
#pragma once

#include <vector>

#include "Companion/CompanionContext.h"
#include "Companion/Lately/LatelyStore.h"

namespace pellora::shown_records {

// Marks the records that are older than one shown before, and remembers the others as shown. A record from the
// future, of a clock that was wrong, counts as written now: the next one must not look old beside it.
void compare(std::vector<NamedLately>& records, const CompanionContext& context, const ExchangeKey& key);

}  // namespace pellora::shown_records
