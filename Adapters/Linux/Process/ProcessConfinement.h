// Gives up what the process does not need, enforced by the kernel and for good: core dumps and tracing by others,
// starting programs, internet sockets (or all but one TCP port), listening, signals to others, memory shared by number,
// changing modes of files, putting words into its terminal, reading and writing outside the named folders. Whatever is
// told to be in force was tried from inside. A protection that the kernel does not have is left out and reported; one
// that it has and refuses is reported as refused, and the program must not go on. The session bus stays open: other
// programs there can be asked for things. Call it at the very start: parts of it hold only for threads made afterwards.
// Tested by Tests/Adapters/ProcessConfinementTests.cpp and Tests/Attacks/RefusedProtectionTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "Adapters/Linux/Process/ConfinementReport.h"

namespace pellora {

// The rights that the process keeps when it gives up the rest.
struct ConfinementPlan {
  // Below these everything may be read and written; they are made (mode 0700) when missing, so that they can be named.
  std::vector<std::filesystem::path> writableFolders;
  // The one folder in which sockets may be made as well; empty: nowhere. Everything may be read and written below it.
  std::filesystem::path socketFolder;
  // Folders or files that may be read, beyond the system's and the desktop's; folders named with a "/" at the end are
  // made when missing.
  std::vector<std::filesystem::path> readable;
  // The Messages store. It stays read-only; SQLite may create the files that a reader needs next to it, and write the
  // index of its log when that is there at the start. An index made later is read without writing.
  std::filesystem::path store;
  // The port of a model server on the loopback interface; absent: no internet sockets at all.
  std::optional<std::uint16_t> modelPort;
  // The display or the bus is reached over TCP, so sockets cannot be given up.
  bool needsInternetSockets = false;
};

namespace ProcessConfinement {

ConfinementReport apply(const ConfinementPlan& plan);

// For the companion, which reads and writes where its user says: gives up core dumps, being traced, looking into other
// processes and sockets other than local ones; TCP stays when it `mayAskModel`. Protections that a kernel does not have
// are left out.
void applyToCompanion(bool mayAskModel);

// For the helper's keeper, which writes where the helper may not: gives up core dumps, being traced, starting programs,
// signals, every socket but local ones and looking into other processes.
void applyToKeeper();

}  // namespace ProcessConfinement

}  // namespace pellora
