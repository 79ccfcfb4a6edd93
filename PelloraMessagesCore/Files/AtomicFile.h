// Whole files, old or new, never in between: a temporary file in the same folder (mode 0600), every write and
// sync checked, renamed over the target, the folder synced. When anything fails the target keeps its old content
// and the temporary file is removed; only when syncing the folder fails is the new content already in place, and
// whether it survives a power cut is unknown. A process that is killed leaves at most a temporary file, which
// removeLeftovers takes away: each is locked by its writer while it is alive, so nobody's running write is
// disturbed. A link in the target's place is replaced, not followed.
// Tested by Tests/Core/AtomicFileTests.cpp and Tests/Core/AtomicFileFaultTests.cpp.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace pellora {

namespace AtomicFile {

struct Replacement {
  std::filesystem::path file;
  std::string bytes;
};

// Creates missing parent folders (mode 0700), then replaces or creates the file. Throws FileError.
void write(const std::filesystem::path& file, std::string_view bytes);

// As `write` for each; batching waits for the disk less often, and syncs each folder once per batch. Each file is old
// or new; when it throws, some may be new already.
void writeAll(std::span<const Replacement> replacements);

// The whole file; absent when it cannot be read, is not a regular file or is larger than `maximumSize` bytes. Never
// waits for the other end of a pipe.
std::optional<std::string> read(const std::filesystem::path& file, std::size_t maximumSize = std::size_t{1} << 30);

// As `read`, absent only when there is no such file. Throws FileError when the file is there and cannot be read.
std::optional<std::string> readIfThere(const std::filesystem::path& file);

// Removes temporary files in this one folder whose writers are gone. Errors are ignored.
void removeLeftovers(const std::filesystem::path& folder);

}  // namespace AtomicFile

}  // namespace pellora
