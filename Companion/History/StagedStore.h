// A Messages store on its way: prepared in a private folder next to its place, checked there, and put into place in one
// step, so that the place holds the old history or the new one, whole, whatever happens. The old log is merged into the
// old store first and goes with it. The folder goes with this object; one that a killed process left is removed by the
// next, and by `history status` and `sweep`. Throws CompanionFailure. Tested by Tests/Companion/HistoryTests.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora {

class StagedStore {
 public:
  // Makes the folder of `place` (mode 0700) when it is missing.
  explicit StagedStore(std::filesystem::path place);
  ~StagedStore();
  StagedStore(const StagedStore&) = delete;
  StagedStore& operator=(const StagedStore&) = delete;

  // Removes folders of this kind next to `place` whose makers are gone.
  static void removeLeftovers(const std::filesystem::path& place);

  // Where to write it.
  std::filesystem::path file() const { return _folder / "chat.db"; }

  // Throws unless the disk has room for this many bytes.
  void needRoom(std::uintmax_t bytes) const;

  // Throws when what was written is damaged.
  void check() const;

  // What becomes of the messages in place.
  struct Difference {
    std::int64_t gained = 0;   // only in the new store
    std::int64_t lost = 0;     // only in the one in place
    std::int64_t inPlace = 0;  // all of the one in place
  };

  // Absent when there is no store in place that can be read.
  std::optional<Difference> difference() const;

  // Throws when another program uses the store in place; then nothing is changed.
  void putIntoPlace();

 private:
  std::filesystem::path _place;
  std::filesystem::path _folder;
  FileDescriptor _lock;
};

}  // namespace pellora
