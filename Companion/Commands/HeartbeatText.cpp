#include "Companion/Commands/HeartbeatText.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Time/RelativeDate.h"

namespace pellora {

namespace {

std::string_view sentence(HelperHeartbeat::Status status) {
  switch (status) {
    case HelperHeartbeat::Status::reading:
      return "reading normally";
    case HelperHeartbeat::Status::needsFullDiskAccess:
      return "cannot read the Messages store";
    case HelperHeartbeat::Status::waitingForPellora:
      return "waits for a key and people";
    case HelperHeartbeat::Status::failed:
      return "its last read failed";
  }
  return {};
}

std::string lastWords(const std::optional<HelperHeartbeat>& heartbeat, const CompanionContext& context) {
  if (!heartbeat) {
    const auto url = HelperHeartbeat::url(context.folder);
    std::error_code error;
    return url && std::filesystem::exists(*url, error) ? "its heartbeat cannot be read" : "no heartbeat yet";
  }
  return "last heard of " + RelativeDate::text(heartbeat->at, context.now, context.calendar) + " (" +
         std::string(sentence(heartbeat->status)) + ", version " + heartbeat->helperVersion + ")";
}

std::string progressText(const ReadProgress& progress, const CompanionContext& context) {
  const std::string started = RelativeDate::text(progress.startedAt, context.now, context.calendar);
  if (progress.daysTotal <= 0) return "reading, started " + started;
  return "reading: the model has done " + std::to_string(progress.daysDone) + " of " +
         std::to_string(progress.daysTotal) + " days, started " + started;
}

}  // namespace

std::string helperText(platform_adapters::HelperPresence presence, const std::optional<HelperHeartbeat>& heartbeat,
                       const std::optional<ReadProgress>& progress, const CompanionContext& context) {
  using platform_adapters::HelperPresence;
  const std::string doing = progress ? progressText(*progress, context) : "";
  switch (presence) {
    case HelperPresence::running:
      if (!doing.empty()) return "running, " + doing;
      if (!heartbeat) return "running, " + lastWords(heartbeat, context);
      return "running, " + std::string(sentence(heartbeat->status)) + " (last heard of " +
             RelativeDate::text(heartbeat->at, context.now, context.calendar) + ", version " +
             heartbeat->helperVersion + ")";
    case HelperPresence::onlyReads:
      return "another read is running" + (doing.empty() ? std::string() : ", " + doing);
    case HelperPresence::notRunning:
      break;
  }
  return "not running, " + lastWords(heartbeat, context);
}

std::string_view statusWord(HelperHeartbeat::Status status) {
  switch (status) {
    case HelperHeartbeat::Status::reading:
      return "reading";
    case HelperHeartbeat::Status::needsFullDiskAccess:
      return "needsFullDiskAccess";
    case HelperHeartbeat::Status::waitingForPellora:
      return "waitingForPellora";
    case HelperHeartbeat::Status::failed:
      return "failed";
  }
  return {};
}

}  // namespace pellora
