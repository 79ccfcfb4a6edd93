// Gives up what the process does not need, enforced by the kernel and for good: core dumps and tracing by others,
// starting programs, internet sockets (or all but one TCP port), writing outside a few folders. What a kernel does
// not have is left out and reported. Call it at the very start: parts of it hold only for threads made afterwards.
// Tested by Tests/Adapters/ProcessConfinementTests.cpp.
#pragma once

#include "Adapters/Linux/Process/ConfinementPlan.h"
#include "Adapters/Linux/Process/ConfinementReport.h"

namespace pellora {

namespace ProcessConfinement {

ConfinementReport apply(const ConfinementPlan& plan);

}  // namespace ProcessConfinement

}  // namespace pellora
