#include "Companion/Commands/HeartbeatText.h"

#include <filesystem>
#include <system_error>

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

}  // namespace

std::string heartbeatText(const std::optional<HelperHeartbeat>& heartbeat, const CompanionContext& context) {
  if (!heartbeat) {
    const auto url = HelperHeartbeat::url(context.folder);
    std::error_code error;
    return url && std::filesystem::exists(*url, error) ? "its heartbeat cannot be read" : "no heartbeat yet";
  }
  const std::string age = RelativeDate::text(heartbeat->at, context.now, context.calendar);
  const std::string version = "version " + heartbeat->helperVersion;
  if (!heartbeat->isFresh(context.now))
    return "stale: last heard of " + age + " (" + std::string(sentence(heartbeat->status)) + ", " + version + ")";
  return std::string(sentence(heartbeat->status)) + ", heartbeat fresh (" + age + "), " + version;
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
