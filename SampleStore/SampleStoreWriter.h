// Writes a Messages store: a whole made-up history at once, or newer messages at the end of one that is there.
// Bodies lie where real stores have them, mostly in the archive stream; among the rows are reactions, renames,
// attachments, group chats, strangers and old dates in seconds. Failures throw StoreError.
// Tested by Tests/SampleStore/SampleStoreTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "SampleStore/SampleOptions.h"
#include "SampleStore/StoreConnection.h"

namespace pellora {

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
