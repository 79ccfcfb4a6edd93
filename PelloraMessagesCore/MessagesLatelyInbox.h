// "Lately/UUID.json" in the shared folder: one sealed lately record per person. The helper only writes; reading all
// and sweeping are for the companion side. Tested by Tests/Core/MessagesLatelyInboxTests.cpp.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/MessagesLatelyRecord.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

namespace MessagesLatelyInbox {

using Folder = std::optional<std::filesystem::path>;

// The contents of "Lately".
struct Listing {
  std::vector<std::string> names;  // without their extension
  std::error_code error;           // why there may be more; none when the folder is absent
};

// All files that may be records, sorted by their names' bytes so that the order does not depend on the file system:
// links count, folders do not. An extension is compared case-sensitively; a name that is nothing but an extension has
// none.
Listing list(const Folder& folder);

// Replaces the person's record. Throws FileError.
void write(const ExchangeKey& key, const Folder& folder, const MessagesLatelyRecord& record);

// Replaces these people's records, cheaper than one by one. When it throws, some may be replaced already.
void writeAll(const ExchangeKey& key, const Folder& folder, const std::vector<MessagesLatelyRecord>& records);

// Absent when the file is missing, does not open or does not decode.
std::optional<MessagesLatelyRecord> read(const ExchangeKey& key, const Folder& folder, const Uuid& person);

// Every record that opens under its file's name and belongs to it, in listing order. Files that cannot be listed are
// left out.
std::vector<MessagesLatelyRecord> readAll(const ExchangeKey& key, const Folder& folder);

// Removes the person's record, if there is one; false when it is there and cannot be removed.
bool remove(const Folder& folder, const Uuid& person);

struct Swept {
  std::size_t removed = 0;          // record files
  std::vector<std::string> unread;  // files that could not be read and so stay, without their extension
};

// Removes every ".json" file that readAll would skip, and the folder "Days". A file whose bytes the system does not
// give (permission, an I/O error) may be a good record and stays. Other errors are ignored. Folders inside "Lately"
// stay, links go and what they lead to stays; nothing is removed when "Lately" itself is a link.
Swept sweep(const ExchangeKey& key, const Folder& folder);

}  // namespace MessagesLatelyInbox

}  // namespace pellora
