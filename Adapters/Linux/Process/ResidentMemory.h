// Gives back memory that the process holds but does not need at the moment, and clears what is left in it.
#pragma once

namespace pellora {

namespace ResidentMemory {

// Returns free heap to the kernel and clears the calling thread's unused stack. Worth calling after a burst of work
// that will not come again soon.
void release();

// Overwrites the part of the calling thread's stack that earlier calls have used: short texts are stored there.
void clearUnusedStack();

}  // namespace ResidentMemory

}  // namespace pellora
