// Writes a folder as a phone's backup leaves it, with a made-up history in it, plain or encrypted: Manifest.plist,
// Manifest.db and the history under 3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28. An encrypted one has a key bag with
// two classes; its passwords go through far fewer rounds than a real one's, so that trying things out is quick.
// Failures throw StoreError. Tested by Tests/Companion/PhoneBackupTests.cpp, which reads what this writes.
#pragma once

#include <filesystem>
#include <string>

#include "SampleStore/SampleStoreWriter.h"

namespace pellora {

class PhoneBackupWriter {
 public:
  struct Options {
    std::string password;        // empty: not encrypted
    bool hasFirstRounds = true;  // newer key bags have DPSL and DPIC
    bool hasFolders = true;      // older backups have all files side by side
  };

  // The folder is made with its parents (mode 0700); no backup may be in it.
  static void create(const std::filesystem::path& folder, const SampleOptions& history, const Options& options);

  // The same with a database that is there.
  static void wrap(const std::filesystem::path& folder, const std::filesystem::path& database, const Options& options);
};

}  // namespace pellora
