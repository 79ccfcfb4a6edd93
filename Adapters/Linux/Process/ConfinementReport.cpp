#include "Adapters/Linux/Process/ConfinementReport.h"

#include <signal.h>

#include <cerrno>
#include <limits>

#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Json/JsonValue.h"

namespace pellora {

namespace {

constexpr char kFile[] = "protections.json";
constexpr std::size_t kMaximumSize = 65'536;  // bytes

bool isAlive(std::int64_t process) {
  return process > 0 && process <= std::numeric_limits<pid_t>::max() &&
         (kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM);
}

ConfinementReport::Protection::State stateOf(bool isOn, bool isRefused) {
  using State = ConfinementReport::Protection::State;
  if (isOn) return State::inForce;
  return isRefused ? State::refused : State::missing;
}

}  // namespace

std::string ConfinementReport::refusal() const {
  for (const Protection& each : protections)
    if (each.state == Protection::State::refused)
      return "The helper could not protect itself (" + each.name + ": " + each.detail + "), so it reads nothing.";
  return {};
}

void ConfinementReport::write(const std::optional<std::filesystem::path>& runtimeFolder) const {
  if (!runtimeFolder) return;
  const auto entry = [](const Protection& each) {
    return JsonValue::object({{"detail", each.detail},
                              {"isOn", each.isOn()},
                              {"isRefused", each.state == Protection::State::refused},
                              {"name", each.name}});
  };
  const JsonValue whole =
      JsonValue::object({{"processID", processID}, {"protections", JsonValue::array(protections, entry)}});
  try {
    AtomicFile::write(*runtimeFolder / kFile, whole.dump());
  } catch (const std::exception&) {
    // Only the companion's view of the protections is missing, not the protections.
  }
}

std::optional<ConfinementReport> ConfinementReport::read(const std::optional<std::filesystem::path>& runtimeFolder) {
  if (!runtimeFolder) return std::nullopt;
  const auto bytes = AtomicFile::read(*runtimeFolder / kFile, kMaximumSize);
  if (!bytes) return std::nullopt;
  const std::optional<JsonValue> whole = JsonValue::parse(*bytes);
  if (!whole) return std::nullopt;
  const std::optional<std::int64_t> process = (*whole)["processID"].integer();
  if (!process || !(*whole)["protections"].isArray()) return std::nullopt;
  ConfinementReport report;
  report.processID = *process;
  for (const JsonValue& each : (*whole)["protections"].elements()) {
    const std::string* name = each["name"].string();
    const std::optional<bool> isOn = each["isOn"].boolean();
    const std::string* detail = each["detail"].string();
    if (name == nullptr || !isOn || detail == nullptr) return std::nullopt;
    report.protections.push_back({*name, stateOf(*isOn, each["isRefused"].boolean().value_or(false)), *detail});
  }
  if (!isAlive(report.processID) && report.refusal().empty()) return std::nullopt;
  return report;
}

}  // namespace pellora
