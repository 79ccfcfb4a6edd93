#include "Adapters/InMemory/InMemoryUserDefaults.h"

#include <cerrno>

#include "PelloraMessagesCore/Files/FileError.h"

namespace pellora {

void InMemoryUserDefaults::store(const std::vector<Change>& changes) {
  if (_failing) throw FileError("write", "defaults", ENOSPC);
  for (const Change& change : changes) {
    _values[change.first] = change.second;
    _history.push_back(change.first);
  }
}

}  // namespace pellora
