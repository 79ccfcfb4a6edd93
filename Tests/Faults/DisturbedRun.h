// Runs a program under the fault injector and tells how it ended. The program's output is thrown away.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace pellora::support {

struct Fault {
  std::string kind;  // as the injector names them
  long at = 1;       // which call, from 1
};

struct DisturbedRun {
  static constexpr int kKilled = -1;

  int exitCode = kKilled;
  std::string call;  // that was disturbed; empty when it did not come to it

  bool wasDisturbed() const { return !call.empty(); }

  // `below`: only calls on paths that begin so count. `environment` is added to that of the test.
  static DisturbedRun of(const std::string& program, const std::vector<std::string>& arguments, const Fault& fault,
                         const std::filesystem::path& below,
                         const std::map<std::string, std::string>& environment = {});

  // Without a fault.
  static DisturbedRun undisturbed(const std::string& program, const std::vector<std::string>& arguments,
                                  const std::map<std::string, std::string>& environment);
};

}  // namespace pellora::support
