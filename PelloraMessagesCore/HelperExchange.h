// Names in the exchange between the two apps: the group, its folder, the files in it and their contexts.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "PelloraMessagesCore/Ports/GroupContainer.h"
#include "PelloraMessagesCore/Ports/NotificationCenter.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

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

}  // namespace pellora
