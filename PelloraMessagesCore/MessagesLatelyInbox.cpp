#include "PelloraMessagesCore/MessagesLatelyInbox.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include "PelloraMessagesCore/ExchangeCoding.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"
#include "PelloraMessagesCore/Files/SealedFile.h"
#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora::MessagesLatelyInbox {

namespace {

namespace fs = std::filesystem;

constexpr char kExtension[] = ".json";

std::string fileName(const std::string& name) {
  return std::string(HelperExchange::kLatelyFolder) + "/" + name + kExtension;
}

// The record in this file, under whatever name it lies.
std::optional<MessagesLatelyRecord> readNamed(const ExchangeKey& key, const Folder& folder, const std::string& name) {
  const std::optional<std::string> json =
      SealedFile::read(key, folder, fileName(name), HelperExchange::latelyContext(name));
  if (!json) return std::nullopt;
  return ExchangeCoding::decode<MessagesLatelyRecord>(*json);
}

// As readNamed, and the record belongs to the person whose name the file bears.
std::optional<MessagesLatelyRecord> readOwn(const ExchangeKey& key, const Folder& folder, const std::string& name) {
  std::optional<MessagesLatelyRecord> record = readNamed(key, folder, name);
  if (record && record->personID.toString() != name) record.reset();
  return record;
}

// A file that the system does not let be read, or even looked at.
bool mayBeGood(const fs::path& file) {
  std::error_code error;
  const fs::file_type type = fs::symlink_status(file, error).type();
  if (type == fs::file_type::not_found) return false;
  if (error) return true;
  return type == fs::file_type::regular && !AtomicFile::read(file);
}

void removeDaysFolder(const fs::path& folder) {
  std::error_code ignored;
  const fs::path days = folder / HelperExchange::kDaysFolder;
  // A link to a folder goes, what it leads to stays.
  if (fs::is_directory(days, ignored)) fs::remove_all(days, ignored);
}

}  // namespace

Listing list(const Folder& folder) {
  Listing listing;
  if (!folder) return listing;
  fs::directory_iterator entry(*folder / HelperExchange::kLatelyFolder, listing.error);
  if (listing.error == std::errc::no_such_file_or_directory) listing.error.clear();
  for (; !listing.error && entry != fs::directory_iterator(); entry.increment(listing.error)) {
    std::error_code ignored;
    // The kind of the entry itself: a link to a folder is a file here.
    const bool isFolder = entry->symlink_status(ignored).type() == fs::file_type::directory;
    if (entry->path().extension() == kExtension && !isFolder) listing.names.push_back(entry->path().stem().string());
  }
  std::sort(listing.names.begin(), listing.names.end());
  return listing;
}

void write(const ExchangeKey& key, const Folder& folder, const MessagesLatelyRecord& record) {
  const std::string name = record.personID.toString();
  SealedFile::write(key, folder, fileName(name), HelperExchange::latelyContext(name), ExchangeCoding::encode(record));
}

void writeAll(const ExchangeKey& key, const Folder& folder, const std::vector<MessagesLatelyRecord>& records) {
  if (!folder) throw FileError::noSuchFile();
  std::vector<AtomicFile::Replacement> replacements;
  replacements.reserve(records.size());
  for (const MessagesLatelyRecord& record : records) {
    const std::string name = record.personID.toString();
    replacements.push_back({*folder / fileName(name), SealedEnvelope::seal(ExchangeCoding::encode(record), key,
                                                                           HelperExchange::latelyContext(name))});
  }
  AtomicFile::writeAll(replacements);
}

std::optional<MessagesLatelyRecord> read(const ExchangeKey& key, const Folder& folder, const Uuid& person) {
  return readNamed(key, folder, person.toString());
}

std::vector<MessagesLatelyRecord> readAll(const ExchangeKey& key, const Folder& folder) {
  std::vector<MessagesLatelyRecord> records;
  for (const std::string& name : list(folder).names)
    if (std::optional<MessagesLatelyRecord> record = readOwn(key, folder, name)) records.push_back(*std::move(record));
  return records;
}

bool remove(const Folder& folder, const Uuid& person) {
  if (!folder) return true;
  const fs::path file = *folder / fileName(person.toString());
  return ::unlink(file.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR;
}

Swept sweep(const ExchangeKey& key, const Folder& folder) {
  Swept swept;
  if (!folder) return swept;
  std::error_code ignored;
  // Nothing is ever removed outside the shared folder, so not through a link either.
  if (!fs::is_symlink(*folder / HelperExchange::kLatelyFolder, ignored)) {
    for (const std::string& name : list(folder).names) {
      if (readOwn(key, folder, name)) continue;
      if (mayBeGood(*folder / fileName(name)))
        swept.unread.push_back(name);
      else if (::unlink((*folder / fileName(name)).c_str()) == 0)
        ++swept.removed;
    }
  }
  removeDaysFolder(*folder);
  return swept;
}

}  // namespace pellora::MessagesLatelyInbox
