// Whether a Messages store can be read, how much is in it, and if it cannot, what is wrong and what to do about it:
// the one place that tells the problems of a store apart. Read-only, and done when the object is made; rows are counted
// by ChatDatabase, the only reader of messages. Tested by Tests/Companion/StoreProbeTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "PelloraMessagesCore/ChatDatabase.h"

namespace pellora {

struct StoreProbe {
  enum class Kind {
    readable,
    missing,
    noPermission,  // the file or a folder on the way may not be read
    notAFile,
    empty,  // no bytes in it
    notADatabase,
    notMessages,  // a database of something else
    truncated,    // shorter than its own head says
    foreignLog,   // readable but for a log that belongs to another database
    damaged,
    readOnly,    // its folder cannot be written, as its log needs: a read-only disk, or somebody else's folder
    locked,      // another program has it locked
    unreadable,  // anything else, in the system's words
  };

  std::filesystem::path file;
  std::optional<std::int64_t> messages;  // absent when it cannot be read
  std::string reason;                    // then why, a short phrase
  bool isLocked = false;                 // another program has it locked
  Kind kind = Kind::missing;
  ChatDatabase::Summary summary = {};  // of a readable one
  bool lacksLog = false;               // it usually has a log next to it, and there is none

  static StoreProbe of(const std::filesystem::path& file);

  bool isReadable() const { return messages.has_value(); }

  // What is wrong, one sentence; of a readable store that it can be read.
  std::string sentence() const;

  // What to do about the user's own store, one sentence; empty for a readable one.
  std::string nextStep() const;
};

}  // namespace pellora
