#include "Tests/Faults/DisturbedRun.h"

#include <sys/wait.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "Tests/Faults/ForkServer.h"
#include "Tests/Support/TemporaryFolder.h"

namespace pellora::support {

DisturbedRun DisturbedRun::of(const std::string& program, const std::vector<std::string>& arguments, const Fault& fault,
                              const std::filesystem::path& below,
                              const std::map<std::string, std::string>& environment) {
  const TemporaryFolder folder;
  std::map<std::string, std::string> whole = environment;
  whole["PELLORA_FAULT_BELOW"] = below.string();
  whole["PELLORA_FAULT_AT"] = std::to_string(fault.at);
  whole["PELLORA_FAULT_KIND"] = fault.kind;
  whole["PELLORA_FAULT_MARK"] = (folder / "mark").string();
  DisturbedRun run = undisturbed(program, arguments, whole);
  std::ifstream mark(folder / "mark");
  if (!mark) throw std::runtime_error("the fault injector is not in force");
  run.call = std::string(std::istreambuf_iterator<char>(mark), {});
  return run;
}

DisturbedRun DisturbedRun::undisturbed(const std::string& program, const std::vector<std::string>& arguments,
                                       const std::map<std::string, std::string>& environment) {
  ForkServer& server = ForkServer::of(program, arguments);
  server.start(environment);
  const int status = server.wait();
  DisturbedRun run;
  if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
  return run;
}

}  // namespace pellora::support
