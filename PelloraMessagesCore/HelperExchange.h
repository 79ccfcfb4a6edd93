// The exchange between the two apps: its names, the request to read, the people file and the heartbeat. Day notes,
// lately records and the helper's own state have files of their own.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Files/SecretBytes.h"
#include "PelloraMessagesCore/Ports/Events.h"
#include "PelloraMessagesCore/Ports/Storage.h"
#include "PelloraMessagesCore/Text/Uuid.h"
#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

// The group, its folder, the files in it and their contexts.
namespace HelperExchange {

// A platform that puts a team prefix before group names sets PELLORA_TEAM_PREFIX when building.
#ifndef PELLORA_TEAM_PREFIX
#define PELLORA_TEAM_PREFIX ""
#endif
inline constexpr char kGroupIdentifier[] = PELLORA_TEAM_PREFIX "app.pellora.messages";

inline constexpr char kPeopleFile[] = "people.json";
inline constexpr char kHeartbeatFile[] = "heartbeat.json";
inline constexpr char kNotesFile[] = "Helper/notes.json";
inline constexpr char kStateFile[] = "Helper/state.json";
inline constexpr char kEarlierStateFile[] = "Helper/analysed.json";  // of versions before the state file
inline constexpr char kRereadFile[] = "Helper/reread.json";
inline constexpr char kLatelyFolder[] = "Lately";
inline constexpr char kDaysFolder[] = "Days";

inline constexpr char kPeopleContext[] = "people";
inline constexpr char kNotesContext[] = "helper-notes";
inline constexpr char kStateContext[] = "helper-state";
inline constexpr char kRereadContext[] = "helper-reread";

// "lately:" and the name that the record's file has, without its extension.
std::string latelyContext(const std::string& name);

// Absent when the platform gives no folder for the group.
std::optional<std::filesystem::path> folderURL(const GroupContainer& container);

}  // namespace HelperExchange

// The signal by which the main app asks for a read at once. It carries nothing.
namespace HelperReadRequest {

inline constexpr char kName[] = "app.pellora.messages.readNow";

// False when the platform has no way to deliver it.
bool post(NotificationCenter& center);

// `handler` is called on the main thread for every signal, as long as the observer lives.
std::unique_ptr<NotificationObserver> observe(NotificationCenter& center, std::function<void()> handler);

}  // namespace HelperReadRequest

// One person that Pellora asks the helper to look for.
struct HelperPerson {
  Uuid id;
  std::string firstName;            // may be empty
  std::vector<std::string> phones;  // as ContactNormalization::phone writes them
  std::vector<std::string> emails;  // as ContactNormalization::email writes them

  bool operator==(const HelperPerson&) const = default;
};

// "people.json" in the shared folder: whom to look for, sealed with the context "people", written by the main app
// or the companion. Tested by Tests/Core/HelperPeopleFileTests.cpp.
struct HelperPeopleFile {
  Instant writtenAt;  // kept as whole seconds in the file
  std::vector<HelperPerson> people;

  // Absent when the folder is.
  static std::optional<std::filesystem::path> url(const std::optional<std::filesystem::path>& folder);

  // Absent when the file is missing, does not open with this key or does not decode.
  static std::optional<HelperPeopleFile> read(const ExchangeKey& key,
                                              const std::optional<std::filesystem::path>& folder);

  // Throws FileError.
  void write(const ExchangeKey& key, const std::optional<std::filesystem::path>& folder) const;

  bool operator==(const HelperPeopleFile&) const = default;
};

// "heartbeat.json" in the shared folder: the helper's status for the main app, the one file that is not sealed.
// Tested by Tests/Core/HelperHeartbeatTests.cpp.
struct HelperHeartbeat {
  enum class Status { reading, needsFullDiskAccess, waitingForPellora, failed };

  // A heartbeat that is this old is no longer fresh.
  static constexpr std::chrono::seconds kFreshFor{2400};

  Instant at;
  Status status = Status::reading;
  std::optional<Instant> lastReadAt;
  std::string helperVersion;

  static std::optional<std::filesystem::path> url(const std::optional<std::filesystem::path>& folder);

  // Absent when the file is missing or does not decode.
  static std::optional<HelperHeartbeat> read(const std::optional<std::filesystem::path>& folder);

  // Throws FileError.
  void write(const std::optional<std::filesystem::path>& folder) const;

  // A heartbeat from the future is fresh.
  bool isFresh(Instant now) const;

  bool operator==(const HelperHeartbeat&) const = default;
};

}  // namespace pellora
