#include "PelloraMessagesCore/MessagesLatelyInbox.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
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

// The record in these bytes, which belongs to the person whose name its file bears.
std::optional<MessagesLatelyRecord> openOwn(const ExchangeKey& key, std::string_view envelope,
                                            const std::string& name) {
  const std::optional<std::string> json = SealedEnvelope::open(envelope, key, HelperExchange::latelyContext(name));
  std::optional<MessagesLatelyRecord> record =
      json ? ExchangeCoding::decode<MessagesLatelyRecord>(*json) : std::nullopt;
  if (record && record->personID.toString() != name) record.reset();
  return record;
}

// The record in this file, under whatever name it lies.
std::optional<MessagesLatelyRecord> readNamed(const ExchangeKey& key, const Folder& folder, const std::string& name) {
  const std::optional<std::string> json =
      SealedFile::read(key, folder, fileName(name), HelperExchange::latelyContext(name));
  if (!json) return std::nullopt;
  return ExchangeCoding::decode<MessagesLatelyRecord>(*json);
}

enum class Content { good, bad, unread };

// Read once: a file that could not be read the first time may be good although it can be read the next.
Content contentOf(const ExchangeKey& key, const fs::path& file, const std::string& name) {
  try {
    if (const std::optional<std::string> envelope = AtomicFile::readIfThere(file))
      return openOwn(key, *envelope, name) ? Content::good : Content::bad;
  } catch (const FileError&) {
    // Said below.
  }
  std::error_code error;
  const fs::file_type type = fs::symlink_status(file, error).type();
  const bool mayBeGood = type == fs::file_type::regular || (error && type != fs::file_type::not_found);
  return mayBeGood ? Content::unread : Content::bad;
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
  fs::directory_iterator entry;
  do entry = fs::directory_iterator(*folder / HelperExchange::kLatelyFolder, listing.error);
  while (listing.error == std::errc::interrupted);
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
  for (const std::string& name : list(folder).names) {
    std::optional<MessagesLatelyRecord> record = readNamed(key, folder, name);
    if (record && record->personID.toString() == name) records.push_back(*std::move(record));
  }
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
      const fs::path file = *folder / fileName(name);
      const Content content = contentOf(key, file, name);
      if (content == Content::unread) swept.unread.push_back(name);
      if (content == Content::bad && ::unlink(file.c_str()) == 0) ++swept.removed;
    }
  }
  removeDaysFolder(*folder);
  return swept;
}

}  // namespace pellora::MessagesLatelyInbox
