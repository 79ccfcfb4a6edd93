#include "Adapters/Linux/Process/ConfinementReport.h"

#include <signal.h>

#include <cerrno>
#include <limits>
#include <nlohmann/json.hpp>

#include "PelloraMessagesCore/Files/AtomicFile.h"

namespace pellora {

namespace {

constexpr char kFile[] = "protections.json";
constexpr std::size_t kMaximumSize = 65'536;  // bytes

bool isAlive(std::int64_t process) {
  return process > 0 && process <= std::numeric_limits<pid_t>::max() &&
         (kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM);
}

}  // namespace

void ConfinementReport::write(const std::optional<std::filesystem::path>& runtimeFolder) const {
  if (!runtimeFolder) return;
  nlohmann::json list = nlohmann::json::array();
  for (const Protection& each : protections)
    list.push_back({{"detail", each.detail}, {"isOn", each.isOn}, {"name", each.name}});
  const nlohmann::json whole = {{"processID", processID}, {"protections", list}};
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
  try {
    const nlohmann::json whole = nlohmann::json::parse(*bytes);
    ConfinementReport report;
    report.processID = whole.at("processID").get<std::int64_t>();
    for (const nlohmann::json& each : whole.at("protections"))
      report.protections.push_back(
          {each.at("name").get<std::string>(), each.at("isOn").get<bool>(), each.at("detail").get<std::string>()});
    if (!isAlive(report.processID)) return std::nullopt;
    return report;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace pellora
