#include "Pellora_for_Messages/Engine/HelperEngineState.h"

#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora {

std::string statusLine(const HelperEngineState& state, const std::optional<Instant>& lastReadAt, Instant now,
                       const LocalCalendar& calendar) {
  switch (state.kind) {
    case HelperEngineState::Kind::starting:
      return "Starting…";
    case HelperEngineState::Kind::needsFullDiskAccess:
      return "Waiting for Full Disk Access";
    case HelperEngineState::Kind::waitingForPellora:
      return "Waiting for Pellora";
    case HelperEngineState::Kind::reading:
      return "Reading Messages…";
    case HelperEngineState::Kind::idle:
      return lastReadAt ? "Connected · read " + RelativeDate::text(*lastReadAt, now, calendar) : "Connected";
    case HelperEngineState::Kind::failed:
      return "Couldn't read Messages";
  }
  return {};
}

}  // namespace pellora
