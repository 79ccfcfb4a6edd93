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
    // `missing`: the kernel does not have it, or it makes no sense here. `refused`: it has it, but does not give it.
    enum class State { inForce, missing, refused };

    std::string name;  // "core dumps", "tracing", "writing", "reading", "model port", "programs", "signals", ...
    State state = State::missing;
    std::string detail;  // one short phrase: what holds, or why it does not

    bool isOn() const { return state == State::inForce; }

    bool operator==(const Protection&) const = default;
  };

  std::int64_t processID = 0;
  std::vector<Protection> protections;

  // Into "protections.json" of this folder; errors are ignored.
  void write(const std::optional<std::filesystem::path>& runtimeFolder) const;

  // Protections that the kernel has and refused, in one sentence; empty when there are none.
  std::string refusal() const;

  // Absent when there is no such file, it does not decode, or its process is gone. A report of a refusal, whose process
  // ended because of it, stays.
  static std::optional<ConfinementReport> read(const std::optional<std::filesystem::path>& runtimeFolder);

  bool operator==(const ConfinementReport&) const = default;
};

}  // namespace pellora
