// Which protections are in force, for the companion to tell. Written to the runtime folder at start, as plain JSON:
// it holds no secret.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace pellora {

struct ConfinementReport {
  struct Protection {
    std::string name;  // "core dumps", "tracing", "programs", "sockets", "model port", "writing"
    bool isOn = false;
    std::string detail;  // one short phrase: what holds, or why it does not

    bool operator==(const Protection&) const = default;
  };

  std::int64_t processID = 0;
  std::vector<Protection> protections;

  // Into "protections.json" of this folder; errors are ignored.
  void write(const std::optional<std::filesystem::path>& runtimeFolder) const;

  // Absent when there is no such file, it does not decode, or its process is gone.
  static std::optional<ConfinementReport> read(const std::optional<std::filesystem::path>& runtimeFolder);

  bool operator==(const ConfinementReport&) const = default;
};

}  // namespace pellora
