// The memory in which message text passes through the process: its heaps and stacks. Keeps the heaps out of swap while
// there is work, and gives back and clears what is not needed afterwards. Any thread.
// Tested by Tests/Adapters/ResidentMemoryTests.cpp and Tests/Leaks/LeakTests.cpp.
#pragma once

namespace pellora {

namespace ResidentMemory {

// Locks the heaps as far as the limit on locked memory allows; some of it is left for keys, which lock pages of their
// own. Cheap while the heaps have not grown since. A missing right is not an error.
void keepFromSwap();

// Returns free heap to the kernel, no longer locks the rest, and clears the calling thread's unused stack. Worth
// calling after a burst of work that will not come again soon: what was freed is wiped already.
void release();

// Overwrites the part of the calling thread's stack that earlier calls have used: short texts are stored there.
void clearUnusedStack();

}  // namespace ResidentMemory

}  // namespace pellora
