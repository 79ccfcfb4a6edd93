// A folder into which a phone was backed up: Manifest.plist says how, Manifest.db lists the files, and each file lies
// under the SHA-1 of its place on the phone, in a folder named by the first two digits (older backups: without it).
// The history is the file 3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28, that is Library/SMS/sms.db of the domain
// HomeDomain, an ordinary Messages database.
//
// An encrypted backup holds a key bag (BackupKeyBag) and, in ManifestKey, the class (4 bytes, least significant first)
// and the wrapped key of Manifest.db; in the column Files.file a property list tells each file's ProtectionClass,
// EncryptionKey (class and wrapped key again) and Size. Files are AES-256-CBC with an initial vector of zeros.
// Every failure throws CompanionFailure; nothing of the backup is changed.
// Tested by Tests/Companion/PhoneBackupTests.cpp and Fuzzers/BackupManifestFuzzer.cpp.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Companion/History/BackupKeyBag.h"

namespace pellora {

// What Manifest.plist says. Total.
struct BackupManifest {
  bool isEncrypted = false;
  std::vector<std::uint8_t> keyBag;
  std::vector<std::uint8_t> manifestKey;  // class and wrapped key

  static std::optional<BackupManifest> parse(std::string_view bytes);
};

// What Manifest.db says of one encrypted file. Total.
struct BackupFileRecord {
  std::uint32_t protectionClass = 0;
  std::vector<std::uint8_t> wrappedKey;
  std::uint64_t size = 0;  // bytes

  static std::optional<BackupFileRecord> parse(std::string_view bytes);
};

// Whether what Status.plist says is that a backup was begun and is not finished. Total.
bool saysUnfinished(std::string_view status);

class PhoneBackup {
 public:
  // Told how much is done, in hundredths; false stops.
  using Proceed = std::function<bool(int)>;

  // Of newer backups the folder with the history.
  static constexpr char kHistoryFolder[] = "3d";

  // Whether the folder looks like a backup.
  static bool isAt(const std::filesystem::path& folder);

  // The backups directly in this folder, by name: programs that back up put each phone's into a folder of its own.
  static std::vector<std::filesystem::path> allIn(const std::filesystem::path& folder);

  explicit PhoneBackup(std::filesystem::path folder);

  bool isEncrypted() const { return _manifest.isEncrypted; }
  // While another backup is being made into the folder, or after that was interrupted, it is not.
  bool isFinished() const;
  void unlock(const SecretBytes& password);

  // The history as it lies in the backup, and its log when that is there.
  std::filesystem::path database() const { return placeOf(kDatabase); }
  std::uintmax_t size() const;

  // Writes the history in the clear to `file`, and its log next to it. False when it was stopped.
  bool extract(const std::filesystem::path& file, const Proceed& proceed) const;

 private:
  static constexpr char kDatabase[] = "Library/SMS/sms.db";
  static constexpr char kLog[] = "Library/SMS/sms.db-wal";

  std::filesystem::path placeOf(const char* path) const;
  bool extractEncrypted(const std::filesystem::path& file, const Proceed& proceed) const;

  std::filesystem::path _folder;
  BackupManifest _manifest;
  std::optional<BackupKeyBag> _keys;
};

// Copies a file's bytes, decrypted when there is a key, cut to `size` then. False when it was stopped. Throws
// CompanionFailure when a file cannot be read or written.
bool copyFile(const std::filesystem::path& from, const std::filesystem::path& to, const SecretBytes* key,
              std::uint64_t size, const PhoneBackup::Proceed& proceed);

}  // namespace pellora
