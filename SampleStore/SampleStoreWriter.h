// The writer of sample stores and its options.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "PelloraMessagesCore/Time/Instant.h"
#include "SampleStore/StoreConnection.h"

namespace pellora {

// The look of a made-up history. The same options give the same content.
struct SampleOptions {
  std::uint64_t seed = 1;
  std::size_t messages = 20'000;  // rows of `message`, of every kind
  std::size_t people = 12;        // people one knows
  std::size_t chats = 0;          // at least this many chats, filled up with strangers'; 0: no minimum
  int days = 200;                 // how far back the history goes
  Instant now;                    // where it ends
};

// Writes a Messages store: a whole made-up history at once, or newer messages at the end of one that is there.
// Bodies lie where real stores have them, mostly in the archive stream; among the rows are reactions, renames,
// attachments, group chats, strangers and old dates in seconds. Failures throw StoreError.
// Tested by Tests/SampleStore/SampleStoreTests.cpp.
class SampleStoreWriter {
 public:
  // Makes the store with parent folders (mode 0700); the file must not exist.
  static void create(const std::filesystem::path& file, const SampleOptions& options);

  // Adds `count` messages in the one-to-one chats of the store, in transactions of one to five, each dated by
  // `clock` when it is written. `pause` is called between transactions with the number of messages written so far.
  static void append(const std::filesystem::path& file, std::size_t count, std::uint64_t seed,
                     const std::function<Instant()>& clock, const std::function<void(std::size_t)>& pause);
};

}  // namespace pellora
