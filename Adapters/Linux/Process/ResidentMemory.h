// Gives memory back that the process holds but does not need at the moment.
#pragma once

namespace pellora {

namespace ResidentMemory {

// Returns free heap to the kernel, and drops this process's mappings of program and library pages that cannot have
// been written. Such pages stay in the page cache, shared with everybody; what is needed again is mapped again on
// its next use, at the cost of a minor fault. Worth calling after a burst of work that will not come again soon.
void release();

}  // namespace ResidentMemory

}  // namespace pellora
