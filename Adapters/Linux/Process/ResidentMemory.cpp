#include "Adapters/Linux/Process/ResidentMemory.h"

#include <malloc.h>
#include <string.h>

namespace pellora::ResidentMemory {

void release() {
  malloc_trim(0);
  clearUnusedStack();
}

[[gnu::noinline]] void clearUnusedStack() {
  char unused[192 * 1024];  // deeper than any call of ours goes
  explicit_bzero(unused, sizeof unused);
}

}  // namespace pellora::ResidentMemory
